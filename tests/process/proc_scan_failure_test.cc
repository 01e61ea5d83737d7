// A scan of /proc that breaks off, as a directory read can (EIO): the
// operation gives its failure value, no exception escapes. This program's own
// readdir stands in front of the C library's and fails once a test has let
// through the calls it allows.
#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

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

TEST(ProcScanFailureTest, ProcessesByNameAnswerTheEmptyListWhenProcCannotBeReadThrough) {
  testing::LinuxProcessPlatform platform;
  const auto processesNamed = [&platform](const std::string& name) {
    testing::ReplyRecorder recorder;
    platform.manager.getProcessesByName(name, recorder.callback());
    return recorder.only();
  };
  const std::string ownName = platform.applications.list().at(0).localizedName.value_or("");
  ASSERT_NE(processesNamed(ownName), ChannelReply::success(ChannelList{}));
  for (const int allowed : {0, 3}) {
    readdirsBeforeFailure = allowed;
    EXPECT_EQ(processesNamed(ownName), ChannelReply::success(ChannelList{})) << allowed;
    readdirsBeforeFailure = -1;
  }
}

}  // namespace
}  // namespace quillon
