// The kill tool must never see an id that it would read as a process group or
// as another process. Run only as the first process of a PID namespace of its
// own (CTest starts it under `unshare --pid --fork --mount-proc`): if an id got
// through, the namespace's processes die, never the machine's.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/process/linux_process_platform.h"
#include "tests/process/sleeping_child.h"

namespace quillon {
namespace {

TEST(HostileProcessIdTest, NoIdReachesAGroupOrAnotherProcessThroughKill) {
  testing::LinuxProcessPlatform platform;
  testing::SleepingChild bystander("bystander");
  ASSERT_GT(bystander.pid(), 0);
  const std::int64_t pid = bystander.pid();
  // kill -9 of these, narrowed to 32 bits, would be -1 (everyone), 0 (our
  // group), the group `pid`, or the bystander itself.
  for (const std::int64_t id : {std::int64_t{1} << 31, (std::int64_t{1} << 32) - 1, std::int64_t{1} << 32,
                                (std::int64_t{1} << 32) + 1, (std::int64_t{1} << 32) - pid, (std::int64_t{1} << 32) + pid,
                                INT64_MAX, INT64_MIN, INT64_MIN + pid, std::int64_t{-1}, std::int64_t{0}}) {
    SCOPED_TRACE(id);
    EXPECT_FALSE(platform.manager.killProcess(id));
    EXPECT_FALSE(platform.manager.closeWindow(id));
    ASSERT_TRUE(bystander.running());
  }
  EXPECT_TRUE(platform.manager.killProcess(pid));
  EXPECT_EQ(bystander.reap(), 128 + SIGKILL);
}

}  // namespace
}  // namespace quillon

int main(int argc, char** argv) {
  if (::getpid() != 1) {
    std::fputs("hostile_process_id_tests: run me as the first process of a PID namespace of my own "
               "(unshare --pid --fork --mount-proc), never against the machine's processes\n",
               stderr);
    return EXIT_FAILURE;
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
