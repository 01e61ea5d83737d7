// A scan of /proc that breaks off, as a directory read can (EIO): the
// operation gives its failure value, no exception escapes. This program's own
// readdir stands in front of the C library's and fails once a test has let
// through the calls it allows.
#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "tests/process/linux_process_platform.h"
#include "tests/support/reply_recorder.h"

namespace {

// How many calls may still succeed; negative: every call does.
int readdirsBeforeFailure = -1;

}  // namespace

extern "C" dirent* readdir(DIR* directory) {
  static const auto next = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
  if (readdirsBeforeFailure == 0) {
    errno = EIO;
    return nullptr;
  }
  if (readdirsBeforeFailure > 0) --readdirsBeforeFailure;
  return next(directory);
}

namespace quillon {
namespace {

class ProcScanFailureTest : public ::testing::Test {
 protected:
  ChannelReply processesNamed(const std::string& name) {
    testing::ReplyRecorder recorder;
    manager.getProcessesByName(name, recorder.callback());
    return recorder.only();
  }

  testing::LinuxProcessPlatform platform;
  ProcRunningApplications& applications = platform.applications;
  ProcessManager& manager = platform.manager;
};

TEST_F(ProcScanFailureTest, ProcessesByNameAnswerTheEmptyListWhenProcCannotBeReadThrough) {
  const std::string ownName = applications.list().at(0).localizedName.value_or("");
  ASSERT_NE(processesNamed(ownName), ChannelReply::success(processIdListValue({})));
  for (const int allowed : {0, 3}) {
    SCOPED_TRACE(allowed);
    readdirsBeforeFailure = allowed;
    EXPECT_EQ(processesNamed(ownName), ChannelReply::success(processIdListValue({})));
    readdirsBeforeFailure = -1;
  }
}

}  // namespace
}  // namespace quillon
