// The twelve "process::" commands against the built host, over its socket.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include "tests/process/sleeping_child.h"
#include "tests/support/host_conversation.h"

namespace quillon {
namespace {

// Without a display: no window list, so the title lookup says so. With every
// procps setting that would change what ps prints in the host's environment,
// which ps inherits: none may change an answer.
class ProcessEndToEndTest : public testing::CatalogueEndToEndTest {
 protected:
  ProcessEndToEndTest()
      : CatalogueEndToEndTest({.headless = true,
                               .environment = {{"PS_FORMAT", "pid="}, {"PS_PERSONALITY", "bsd"}, {"CMD_ENV", "bsd"},
                                               {"I_WANT_A_BROKEN_PS", "1"}, {"LIBPROC_HIDE_KERNEL", "1"},
                                               {"COLUMNS", "20"}, {"LINES", "1"}, {"LC_ALL", "C"}}}) {}

  ChannelReply call(const std::string& method, std::int64_t processId) {
    return CatalogueEndToEndTest::call(method, testing::argumentMap({{"processId", processId}}));
  }
  using CatalogueEndToEndTest::call;
};

TEST_F(ProcessEndToEndTest, EachCommandAnswersAboutRealProcesses) {
  // Not ASCII, longer than the kernel's 15 bytes of command name, and blanks in the arguments.
  const std::string name = "sl\u00EBeper quillon child";
  testing::SleepingChild child(name, {"1000", " 1"});
  const std::int32_t id = child.pid();  // the codec sends an id in its smallest integer form
  const ChannelReply table = call("process::getProcessIdList");
  const ChannelReply hostId = call("process::getCurrentProcessId");
  ASSERT_TRUE(table.isSuccess() && hostId.isSuccess());
  const auto& ids = std::get<ChannelList>(table.value().variant());
  for (const ChannelValue& listed : {ChannelValue(id), hostId.value()}) {
    EXPECT_NE(std::ranges::find(ids, listed), ids.end()) << describe(listed);
  }
  EXPECT_EQ(call("process::getProcessesByName", testing::argumentMap({{"name", name}})),
            ChannelReply::success(ChannelList{id}));
  EXPECT_EQ(call("process::isAlive", id), ChannelReply::success(true));
  EXPECT_EQ(call("process::getMainWindowHandle", id), ChannelReply::success(std::to_string(id)));
  EXPECT_EQ(call("process::getMainWindowTitle", id), ChannelReply::error("UNAVAILABLE", "Main window title not found"));
  EXPECT_EQ(call("process::getProcessName", id), ChannelReply::success("sl\u00EBeper quillo"));
  EXPECT_EQ(call("process::getProcessFileName", id), ChannelReply::success(child.path() + " 1000  1"));
  EXPECT_EQ(call("process::getProcessLaunchArguments", id), ChannelReply::success(child.path() + " 1000  1"));
  EXPECT_EQ(call("process::getProcessWorkingDirectory", 1), ChannelReply::success("Unknown"));
  EXPECT_EQ(call("process::killProcess", id), ChannelReply::success(true));
  EXPECT_EQ(child.reap(), 128 + SIGKILL);
  EXPECT_EQ(call("process::isAlive", id), ChannelReply::success(false));
  EXPECT_EQ(call("process::closeWindow", id), ChannelReply::success(false));
  EXPECT_EQ(call("process::getProcessName", id), ChannelReply::success(""));

  EXPECT_EQ(host_.stop(), 0);
  EXPECT_EQ(host_.output(), "Error: Could not retrieve window list from Core Graphics.\n");
}

// Kernel threads are processes to the interface too, whatever the user's ps
// settings (LIBPROC_HIDE_KERNEL among them) say: kthreadd, the first of them,
// is listed, alive and named.
TEST_F(ProcessEndToEndTest, KernelThreadsCountWhateverPsSettingsTheUserHas) {
  if (testing::readFile("/proc/2/comm") != "kthreadd\n") GTEST_SKIP() << "no kthreadd in this PID namespace";
  const ChannelReply table = call("process::getProcessIdList");
  ASSERT_TRUE(table.isSuccess());
  const auto& ids = std::get<ChannelList>(table.value().variant());
  EXPECT_NE(std::ranges::find(ids, ChannelValue(2)), ids.end());
  EXPECT_EQ(call("process::isAlive", 2), ChannelReply::success(true));
  EXPECT_EQ(call("process::getProcessName", 2), ChannelReply::success("kthreadd"));
}

}  // namespace
}  // namespace quillon
