// A scan of /proc that fails partway, as a read of a directory can (EIO, a
// vanished mount): the operation gives its failure value, no exception escapes.
// This program's own readdir stands in front of the C library's, and fails
// once a test has let through the entries it allows.
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

// Negative: readdir works as usual.
int entriesBeforeFailure = -1;

}  // namespace

extern "C" dirent* readdir(DIR* directory) {
  static const auto next = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
  if (entriesBeforeFailure == 0) {
    errno = EIO;
    return nullptr;
  }
  if (entriesBeforeFailure > 0) --entriesBeforeFailure;
  return next(directory);
}

namespace quillon {
namespace {

TEST(FailingScanTest, ProcessesByNameAnswerTheEmptyListWhenProcCannotBeReadThrough) {
  PosixToolRunner tools;
  ProcRunningApplications applications;
  ProcessQueryScriptRunner scripts;
  X11WindowList windows;
  testing::CapturingDiagnostics diagnostics;
  ProcessManager manager{ProcessEnvironment{tools, applications, scripts, windows, diagnostics}};
  const std::string ownName = applications.list().at(0).localizedName.value_or("");
  const auto namesFound = [&manager, &ownName] {
    testing::ReplyRecorder recorder;
    manager.getProcessesByName(ownName, recorder.callback());
    return recorder.only();
  };
  ASSERT_NE(namesFound(), ChannelReply::success(processIdListValue({})));
  for (const int allowed : {0, 3}) {
    SCOPED_TRACE(allowed);
    entriesBeforeFailure = allowed;
    EXPECT_EQ(namesFound(), ChannelReply::success(processIdListValue({})));
    entriesBeforeFailure = -1;
  }
}

}  // namespace
}  // namespace quillon
