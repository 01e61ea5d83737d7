// The twelve "process::" commands against the built host, over its socket.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "tests/process/sleeping_child.h"
#include "tests/support/catalogue_end_to_end_test.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

class ProcessEndToEndTest : public testing::CatalogueEndToEndTest {
 protected:
  // Without a display: no window list, so the title lookup says so.
  ProcessEndToEndTest() : CatalogueEndToEndTest({.headless = true}) {}

  static ChannelValue withProcessId(std::int64_t id) { return testing::argumentMap({{"processId", id}}); }
  static ChannelValue withName(const std::string& name) { return testing::argumentMap({{"name", name}}); }

  // The integers of a list answer, whichever width the codec chose for each.
  static std::vector<std::int64_t> integers(const ChannelReply& reply) {
    std::vector<std::int64_t> values;
    const auto* list = reply.isSuccess() ? std::get_if<ChannelList>(&reply.value().variant()) : nullptr;
    if (list == nullptr) return values;
    for (const ChannelValue& value : *list) {
      if (const auto* small = std::get_if<std::int32_t>(&value.variant())) values.push_back(*small);
      if (const auto* large = std::get_if<std::int64_t>(&value.variant())) values.push_back(*large);
    }
    return values;
  }

  static bool listHolds(const ChannelReply& reply, std::int64_t id) {
    const auto values = integers(reply);
    return std::find(values.begin(), values.end(), id) != values.end();
  }

};

TEST_F(ProcessEndToEndTest, EachCommandAnswersAboutRealProcesses) {
  testing::SleepingChild child("quillon e2e sleeper", {"1000"});
  const std::int64_t id = child.pid();

  EXPECT_TRUE(listHolds(call("process::getProcessIdList"), id));
  const ChannelReply hostId = call("process::getCurrentProcessId");
  ASSERT_TRUE(hostId.isSuccess());
  EXPECT_TRUE(listHolds(call("process::getProcessIdList"), std::get<std::int32_t>(hostId.value().variant())));
  EXPECT_EQ(integers(call("process::getProcessesByName", withName("quillon e2e sleeper"))),
            std::vector<std::int64_t>{id});
  EXPECT_EQ(call("process::isAlive", withProcessId(id)), ChannelReply::success(true));
  EXPECT_EQ(call("process::getMainWindowHandle", withProcessId(id)), ChannelReply::success(std::to_string(id)));
  EXPECT_EQ(call("process::getMainWindowTitle", withProcessId(id)),
            ChannelReply::error("UNAVAILABLE", "Main window title not found"));
  EXPECT_EQ(call("process::getProcessName", withProcessId(id)), ChannelReply::success("quillon e2e sle"));
  EXPECT_EQ(call("process::getProcessFileName", withProcessId(id)), ChannelReply::success(child.path() + " 1000"));
  EXPECT_EQ(call("process::getProcessLaunchArguments", withProcessId(id)),
            ChannelReply::success(child.path() + " 1000"));
  EXPECT_EQ(call("process::getProcessWorkingDirectory", withProcessId(1)), ChannelReply::success("Unknown"));
  EXPECT_EQ(call("process::killProcess", withProcessId(id)), ChannelReply::success(true));
  EXPECT_EQ(child.reap(), SIGKILL);
  EXPECT_EQ(call("process::closeWindow", withProcessId(id)), ChannelReply::success(false));

  EXPECT_EQ(host_.stop(), 0);
  EXPECT_EQ(host_.output(), "Error: Could not retrieve window list from Core Graphics.\n");
}

TEST_F(ProcessEndToEndTest, FailedChecksAnswerTheirMessageWithNullDetails) {
  const ChannelReply noName = ChannelReply::error("INVALID_ARGUMENT", "Expected process name");
  EXPECT_EQ(call("process::getProcessesByName"), noName);
  EXPECT_EQ(call("process::getProcessesByName", withProcessId(1)), noName);
  const ChannelReply noId = ChannelReply::error("INVALID_ARGUMENT", "Expected processId");
  for (const char* method : {"process::isAlive", "process::getMainWindowHandle", "process::getMainWindowTitle",
                             "process::closeWindow", "process::killProcess", "process::getProcessName",
                             "process::getProcessFileName", "process::getProcessLaunchArguments",
                             "process::getProcessWorkingDirectory"}) {
    EXPECT_EQ(call(method, withName("1")), noId) << method;
  }
  const ChannelReply unavailable = call("process::getMainWindowTitle", withProcessId(1));
  ASSERT_TRUE(unavailable.isError());
  EXPECT_TRUE(unavailable.error().details.isNull());
  EXPECT_EQ(call("process::getProcessesByName", withName("no such application, surely")),
            ChannelReply::success(ChannelList{}));
}

}  // namespace
}  // namespace quillon
