#include "commands/window_commands.h"

#include <gtest/gtest.h>

#include "commands/command_dispatcher.h"
#include "tests/support/reply_recorder.h"
#include "tests/window/fake_desktop.h"

namespace quillon {
namespace {

ChannelValue arguments(std::initializer_list<std::pair<const char*, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

ChannelValue integerMap(std::initializer_list<std::pair<const char*, std::int64_t>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

class WindowCommandsTest : public ::testing::Test {
 protected:
  ChannelReply call(const std::string& method, ChannelValue args = {}) {
    testing::ReplyRecorder recorder;
    dispatcher.handle(MethodCall{method, std::move(args)}, recorder.callback());
    return recorder.only();
  }

  testing::FakeDesktop desktop;
  CommandDispatcher dispatcher{windowCommands(desktop.services)};
};

TEST_F(WindowCommandsTest, TheFiveNamesInRoutingOrder) {
  std::vector<std::string_view> names;
  for (const Command& command : dispatcher.commands()) names.push_back(command.name);
  EXPECT_EQ(names, (std::vector<std::string_view>{"window::getWindowRect", "window::showWindow",
                                                  "window::getScreenBounds", "window::getScreenWorkingAreaDimensions",
                                                  "window::showAlert"}));
}

struct FailedCheck {
  std::string method;
  ChannelValue arguments;
  std::string message;
};

TEST_F(WindowCommandsTest, FailedChecksAnswerInvalidArgument) {
  const std::vector<FailedCheck> cases = {
      {"window::getWindowRect", arguments({{"windowHandle", std::int64_t{5}}}), "Expected windowHandle"},
      {"window::getWindowRect", arguments({{"processId", "5"}}), "Expected windowHandle"},
      {"window::getWindowRect", ChannelValue(), "Expected windowHandle"},
      {"window::showWindow", arguments({{"windowHandle", std::int64_t{5}}}), "Expected windowHandle and command"},
      {"window::showWindow", arguments({{"command", std::int32_t{1}}}), "Expected windowHandle and command"},
      {"window::showWindow", ChannelValue(ChannelList{}), "Expected windowHandle and command"},
      {"window::showAlert", arguments({{"title", "t"}, {"message", "m"}}), "Expected title and message"},
      {"window::showAlert", arguments({{"title", "t"}, {"timeout", std::int64_t{1}}}), "Expected title and message"},
      {"window::showAlert", arguments({{"title", std::int64_t{1}}, {"message", "m"}, {"timeout", std::int64_t{1}}}),
       "Expected title and message"},
      {"window::showAlert", ChannelValue("x"), "Expected title and message"},
  };
  for (const FailedCheck& test : cases) {
    EXPECT_EQ(call(test.method, test.arguments), ChannelReply::error("INVALID_ARGUMENT", test.message))
        << test.method << " " << describe(test.arguments);
  }
  EXPECT_TRUE(desktop.mainQueue.posted.empty());
}

TEST_F(WindowCommandsTest, GetWindowRectAnswersTheMapOrNull) {
  desktop.windowList.windows = std::vector<WindowListEntry>{{7, "w", WindowBounds{-100.7, 20.2, 50.9, 10.9}}};
  EXPECT_EQ(call("window::getWindowRect", arguments({{"processId", std::int32_t{7}}})),
            ChannelReply::success(integerMap({{"top", 20}, {"left", -100}, {"bottom", 31}, {"right", -49}})));
  EXPECT_EQ(call("window::getWindowRect", arguments({{"processId", std::int64_t{8}}})), ChannelReply::success());
  desktop.windowList.windows = std::nullopt;
  EXPECT_EQ(call("window::getWindowRect", arguments({{"processId", std::int64_t{7}}})), ChannelReply::success());
}

TEST_F(WindowCommandsTest, ShowWindowAnswersWhetherItActed) {
  desktop.hostWindows.states = {{42, {0, 0, 10, 10}, {}}};
  EXPECT_EQ(call("window::showWindow", arguments({{"windowHandle", std::int64_t{42}}, {"command", std::int32_t{0}}})),
            ChannelReply::success(true));
  EXPECT_EQ(call("window::showWindow", arguments({{"windowHandle", std::int64_t{42}}, {"command", std::int32_t{4}}})),
            ChannelReply::success(false));
  EXPECT_EQ(desktop.hostWindows.states[0].actions, std::vector<std::string>{"hide"});
}

TEST_F(WindowCommandsTest, ScreenMetricsIgnoreTheArguments) {
  for (const ChannelValue& args : {ChannelValue(), ChannelValue("x"), ChannelValue(ChannelList{})}) {
    desktop.screens.screen = std::nullopt;
    EXPECT_EQ(call("window::getScreenBounds", args), ChannelReply::success(integerMap({{"width", 0}, {"height", 0}})));
    EXPECT_EQ(call("window::getScreenWorkingAreaDimensions", args), ChannelReply::success(ChannelMap{}));
    desktop.screens.screen = ScreenFrames{{0, 0, 1440, 900}, {0, 80, 1440, 795}};
    EXPECT_EQ(call("window::getScreenBounds", args),
              ChannelReply::success(integerMap({{"width", 1440}, {"height", 900}})));
    EXPECT_EQ(call("window::getScreenWorkingAreaDimensions", args),
              ChannelReply::success(integerMap({{"width", 1440}, {"height", 795}})));
  }
}

struct TimeoutCase {
  ChannelValue timeout;
  std::size_t armed;
};

TEST_F(WindowCommandsTest, ShowAlertAnswersNullBeforeTheAlertExists) {
  desktop.textMeasurer.heights = {{"t", 20.0}, {"m", 20.0}};
  const std::vector<TimeoutCase> cases = {
      {ChannelValue(std::int64_t{5}), 1}, {ChannelValue(std::int32_t{5}), 1}, {ChannelValue(), 0},
      {ChannelValue("5"), 0},             {ChannelValue(5.0), 0},
  };
  for (const TimeoutCase& test : cases) {
    desktop.alertWindows.records.clear();
    desktop.mainQueue.delayed.clear();
    EXPECT_EQ(call("window::showAlert", arguments({{"title", "t"}, {"message", "m"}, {"timeout", test.timeout}})),
              ChannelReply::success());
    EXPECT_TRUE(desktop.alertWindows.records.empty());
    desktop.mainQueue.runPosted();
    EXPECT_EQ(desktop.alertWindows.records.size(), 1U);
    EXPECT_EQ(desktop.mainQueue.delayed.size(), test.armed) << describe(test.timeout);
  }
}

}  // namespace
}  // namespace quillon
