// Reads of /proc that fail, as they do when a process ends between the opening
// of its file and the read (ESRCH), or a directory read breaks off (EIO): the
// operation gives its failure value, no exception escapes. This program's own
// readdir and read stand in front of the C library's and fail once a test has
// let through the calls it allows.
#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/posix_tool_runner.h"
#include "platform/linux/proc_running_applications.h"
#include "platform/linux/process_query_script_runner.h"
#include "platform/linux/x11_window_list.h"
#include "process/process_manager.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/reply_recorder.h"

namespace {

// How many calls may still succeed; negative: every call does.
int readdirsBeforeFailure = -1;
int readsBeforeFailure = -1;

bool failsNow(int& callsBeforeFailure, int error) {
  if (callsBeforeFailure == 0) {
    errno = error;
    return true;
  }
  if (callsBeforeFailure > 0) --callsBeforeFailure;
  return false;
}

}  // namespace

extern "C" dirent* readdir(DIR* directory) {
  static const auto next = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
  return failsNow(readdirsBeforeFailure, EIO) ? nullptr : next(directory);
}

extern "C" ssize_t read(int fd, void* buffer, size_t count) {
  static const auto next = reinterpret_cast<ssize_t (*)(int, void*, size_t)>(dlsym(RTLD_NEXT, "read"));
  return failsNow(readsBeforeFailure, ESRCH) ? -1 : next(fd, buffer, count);
}

namespace quillon {
namespace {

class ProcReadFailureTest : public ::testing::Test {
 protected:
  ChannelReply processesNamed(const std::string& name) {
    testing::ReplyRecorder recorder;
    manager.getProcessesByName(name, recorder.callback());
    return recorder.only();
  }

  PosixToolRunner tools;
  ProcRunningApplications applications;
  ProcessQueryScriptRunner scripts;
  X11WindowList windows;
  testing::CapturingDiagnostics diagnostics;
  ProcessManager manager{ProcessEnvironment{tools, applications, scripts, windows, diagnostics}};
};

TEST_F(ProcReadFailureTest, ProcessesByNameAnswerTheEmptyListWhenProcCannotBeReadThrough) {
  const std::string ownName = applications.list().at(0).localizedName.value_or("");
  ASSERT_NE(processesNamed(ownName), ChannelReply::success(processIdListValue({})));
  for (const int allowed : {0, 3}) {
    SCOPED_TRACE(allowed);
    readdirsBeforeFailure = allowed;
    EXPECT_EQ(processesNamed(ownName), ChannelReply::success(processIdListValue({})));
    readdirsBeforeFailure = -1;
  }
}

TEST_F(ProcReadFailureTest, AProcessWhoseFilesCannotBeReadIsNoApplication) {
  const std::string ownName = applications.list().at(0).localizedName.value_or("");
  readsBeforeFailure = 0;
  EXPECT_EQ(processesNamed(ownName), ChannelReply::success(processIdListValue({})));
  EXPECT_EQ(manager.findMainWindowHandle(::getpid()), "");
  readsBeforeFailure = -1;
}

}  // namespace
}  // namespace quillon
