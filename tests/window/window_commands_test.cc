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

ChannelReply integers(std::initializer_list<std::pair<const char*, std::int64_t>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return ChannelReply::success(map);
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

struct CommandCase {
  std::string method;
  ChannelValue arguments;
  ChannelReply reply;
};

// The arguments each command checks, and the maps and values it answers with
// what the services give (the screen commands take no arguments and ignore any).
TEST_F(WindowCommandsTest, ChecksItsArgumentsAndAnswersWhatTheServicesGive) {
  const auto invalid = [](const char* message) { return ChannelReply::error("INVALID_ARGUMENT", message); };
  const auto show = [](std::int64_t command) {
    return arguments({{"windowHandle", std::int64_t{42}}, {"command", command}});
  };
  const std::vector<CommandCase> cases = {
      {"window::getWindowRect", arguments({{"windowHandle", std::int64_t{5}}}), invalid("Expected windowHandle")},
      {"window::getWindowRect", arguments({{"processId", "5"}}), invalid("Expected windowHandle")},
      {"window::getWindowRect", ChannelValue(), invalid("Expected windowHandle")},
      {"window::getWindowRect", arguments({{"processId", std::int32_t{7}}}),
       integers({{"top", 20}, {"left", -100}, {"bottom", 31}, {"right", -49}})},
      {"window::getWindowRect", arguments({{"processId", std::int64_t{8}}}), ChannelReply::success()},
      {"window::showWindow", arguments({{"windowHandle", std::int64_t{5}}}), invalid("Expected windowHandle and command")},
      {"window::showWindow", arguments({{"command", std::int32_t{1}}}), invalid("Expected windowHandle and command")},
      {"window::showWindow", ChannelValue(ChannelList{}), invalid("Expected windowHandle and command")},
      {"window::showWindow", show(0), ChannelReply::success(true)},
      {"window::showWindow", show(4), ChannelReply::success(false)},
      {"window::getScreenBounds", ChannelValue("x"), integers({{"width", 1440}, {"height", 900}})},
      {"window::getScreenWorkingAreaDimensions", ChannelValue(ChannelList{}), integers({{"width", 1440}, {"height", 795}})},
      {"window::showAlert", arguments({{"title", "t"}, {"message", "m"}}), invalid("Expected title and message")},
      {"window::showAlert", arguments({{"title", "t"}, {"timeout", std::int64_t{1}}}), invalid("Expected title and message")},
      {"window::showAlert", arguments({{"title", std::int64_t{1}}, {"message", "m"}, {"timeout", std::int64_t{1}}}),
       invalid("Expected title and message")},
      {"window::showAlert", ChannelValue("x"), invalid("Expected title and message")},
  };
  desktop.windowList.windows = std::vector<WindowListEntry>{{7, "w", WindowBounds{-100.7, 20.2, 50.9, 10.9}}};
  desktop.hostWindows.states = {{42, {0, 0, 10, 10}, {}}};
  desktop.screens.screen = ScreenFrames{{0, 0, 1440, 900}, {0, 80, 1440, 795}};
  for (const CommandCase& test : cases) {
    EXPECT_EQ(call(test.method, test.arguments), test.reply) << test.method << " " << describe(test.arguments);
  }
  EXPECT_EQ(desktop.hostWindows.states[0].actions, std::vector<std::string>{"hide"});
  EXPECT_TRUE(desktop.mainQueue.posted.empty());

  desktop.windowList.windows = std::nullopt;
  desktop.screens.screen = std::nullopt;
  EXPECT_EQ(call("window::getWindowRect", arguments({{"processId", std::int64_t{7}}})), ChannelReply::success());
  EXPECT_EQ(call("window::getScreenBounds"), integers({{"width", 0}, {"height", 0}}));
  EXPECT_EQ(call("window::getScreenWorkingAreaDimensions"), ChannelReply::success(ChannelMap{}));
}

struct TimeoutCase {
  ChannelValue timeout;
  std::size_t armed;
};

// Only an integer timeout arms the automatic close.
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
