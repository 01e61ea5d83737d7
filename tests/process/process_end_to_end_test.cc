// The twelve "process::" commands against the built host, over its socket.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include "tests/process/sleeping_child.h"
#include "tests/support/catalogue_end_to_end_test.h"

namespace quillon {
namespace {

// Without a display: no window list, so the title lookup says so.
class ProcessEndToEndTest : public testing::CatalogueEndToEndTest {
 protected:
  ProcessEndToEndTest() : CatalogueEndToEndTest({.headless = true}) {}

  ChannelReply call(const std::string& method, std::int64_t processId) {
    return CatalogueEndToEndTest::call(method, testing::argumentMap({{"processId", processId}}));
  }
  using CatalogueEndToEndTest::call;

  // The integers of a list answer, whichever width the codec chose for each.
  static std::vector<std::int64_t> integers(const ChannelReply& reply) {
    std::vector<std::int64_t> values;
    const auto* list = reply.isSuccess() ? std::get_if<ChannelList>(&reply.value().variant()) : nullptr;
    for (const ChannelValue& value : list ? *list : ChannelList{}) {
      if (const auto* small = std::get_if<std::int32_t>(&value.variant())) values.push_back(*small);
      if (const auto* large = std::get_if<std::int64_t>(&value.variant())) values.push_back(*large);
    }
    return values;
  }
};

TEST_F(ProcessEndToEndTest, EachCommandAnswersAboutRealProcesses) {
  testing::SleepingChild child("quillon e2e sleeper", {"1000"});
  const std::int64_t id = child.pid();
  const auto table = integers(call("process::getProcessIdList"));
  const ChannelReply hostId = call("process::getCurrentProcessId");
  ASSERT_TRUE(hostId.isSuccess());
  for (const std::int64_t listed : {id, std::int64_t{std::get<std::int32_t>(hostId.value().variant())}}) {
    EXPECT_NE(std::find(table.begin(), table.end(), listed), table.end()) << listed;
  }
  EXPECT_EQ(integers(call("process::getProcessesByName", testing::argumentMap({{"name", "quillon e2e sleeper"}}))),
            std::vector<std::int64_t>{id});
  EXPECT_EQ(call("process::isAlive", id), ChannelReply::success(true));
  EXPECT_EQ(call("process::getMainWindowHandle", id), ChannelReply::success(std::to_string(id)));
  EXPECT_EQ(call("process::getMainWindowTitle", id), ChannelReply::error("UNAVAILABLE", "Main window title not found"));
  EXPECT_EQ(call("process::getProcessName", id), ChannelReply::success("quillon e2e sle"));
  EXPECT_EQ(call("process::getProcessFileName", id), ChannelReply::success(child.path() + " 1000"));
  EXPECT_EQ(call("process::getProcessLaunchArguments", id), ChannelReply::success(child.path() + " 1000"));
  EXPECT_EQ(call("process::getProcessWorkingDirectory", 1), ChannelReply::success("Unknown"));
  EXPECT_EQ(call("process::killProcess", id), ChannelReply::success(true));
  EXPECT_EQ(child.reap(), 128 + SIGKILL);
  EXPECT_EQ(call("process::closeWindow", id), ChannelReply::success(false));

  EXPECT_EQ(host_.stop(), 0);
  EXPECT_EQ(host_.output(), "Error: Could not retrieve window list from Core Graphics.\n");
}

}  // namespace
}  // namespace quillon
