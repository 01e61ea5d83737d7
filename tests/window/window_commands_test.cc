// The five "window::" commands and the services behind them (ApplicationWindow)
// through fakes of the desktop: argument checks, and exact cases of the rules.
#include "commands/window_commands.h"

#include <gtest/gtest.h>

#include <limits>

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

ChannelReply rect(std::int64_t top, std::int64_t left, std::int64_t bottom, std::int64_t right) {
  return integers({{"top", top}, {"left", left}, {"bottom", bottom}, {"right", right}});
}

WindowListEntry entry(std::optional<std::int64_t> owner, std::optional<WindowBounds> bounds) {
  return WindowListEntry{owner, std::string("w"), bounds};
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

struct FailedCheck {
  std::string method;
  ChannelValue arguments;
  std::string message;
};

TEST_F(WindowCommandsTest, FailedChecksAnswerInvalidArgumentAndDoNothing) {
  const std::vector<FailedCheck> cases = {
      {"window::getWindowRect", arguments({{"windowHandle", std::int64_t{5}}}), "Expected windowHandle"},
      {"window::getWindowRect", arguments({{"processId", "5"}}), "Expected windowHandle"},
      {"window::getWindowRect", ChannelValue(), "Expected windowHandle"},
      {"window::showWindow", arguments({{"windowHandle", std::int64_t{42}}}), "Expected windowHandle and command"},
      {"window::showWindow", arguments({{"command", std::int32_t{1}}}), "Expected windowHandle and command"},
      {"window::showWindow", ChannelValue(ChannelList{}), "Expected windowHandle and command"},
      {"window::showAlert", arguments({{"title", "t"}, {"message", "m"}}), "Expected title and message"},
      {"window::showAlert", arguments({{"title", "t"}, {"timeout", std::int64_t{1}}}), "Expected title and message"},
      {"window::showAlert", arguments({{"title", std::int64_t{1}}, {"message", "m"}, {"timeout", std::int64_t{1}}}),
       "Expected title and message"},
      {"window::showAlert", ChannelValue("x"), "Expected title and message"},
  };
  desktop.hostWindows.states = {{42, {0, 0, 10, 10}, {}}};
  for (const FailedCheck& test : cases) {
    EXPECT_EQ(call(test.method, test.arguments), ChannelReply::error("INVALID_ARGUMENT", test.message))
        << test.method << " " << describe(test.arguments);
  }
  EXPECT_TRUE(desktop.hostWindows.states[0].actions.empty());
  EXPECT_TRUE(desktop.mainQueue.posted.empty());
}

struct RectCase {
  std::string name;
  std::optional<std::vector<WindowListEntry>> windows;
  ChannelReply reply;
};

// Front-most first, the first window of the process with bounds; sums before
// truncation; no list: null and one line.
TEST_F(WindowCommandsTest, GetWindowRectAnswersTheProcesssFrontMostWindow) {
  const WindowBounds plain{10.0, 20.0, 300.0, 400.0};
  const double huge = std::numeric_limits<double>::max();
  const ChannelReply null = ChannelReply::success();
  const std::vector<RectCase> cases = {
      {"fractions truncate toward zero", {{entry(7, WindowBounds{-100.7, 20.2, 50.9, 10.9})}}, rect(20, -100, 31, -49)},
      {"sum before truncation", {{entry(7, WindowBounds{10.6, 0.0, 0.5, 0.0})}}, rect(0, 10, 0, 11)},
      {"missing width and height", {{entry(7, WindowBounds{5.5, 6.5, std::nullopt, std::nullopt})}}, rect(6, 5, 6, 5)},
      {"missing everything counts as zero", {{entry(7, WindowBounds{})}}, rect(0, 0, 0, 0)},
      {"front-most of two", {{entry(7, plain), entry(7, WindowBounds{1, 2, 3, 4})}}, rect(20, 10, 420, 310)},
      {"second when the first lacks bounds", {{entry(7, std::nullopt), entry(7, plain)}}, rect(20, 10, 420, 310)},
      {"other processes passed over", {{entry(8, WindowBounds{1, 2, 3, 4}), entry(std::nullopt, plain), entry(7, plain)}},
       rect(20, 10, 420, 310)},
      {"empty list", std::vector<WindowListEntry>{}, null},
      {"unmatched process", {{entry(8, plain)}}, null},
      {"only windows without bounds", {{entry(7, std::nullopt)}}, null},
      {"not a number", {{entry(7, WindowBounds{std::numeric_limits<double>::quiet_NaN(), 0, 1, 1})}}, null},
      {"beyond 64 bits", {{entry(7, WindowBounds{0, 0, huge, 1})}}, null},
      {"no list", std::nullopt, null},
  };
  for (const RectCase& test : cases) {
    desktop.windowList.windows = test.windows;
    desktop.diagnostics.lines.clear();
    EXPECT_EQ(call("window::getWindowRect", arguments({{"processId", std::int32_t{7}}})), test.reply) << test.name;
    EXPECT_EQ(desktop.diagnostics.lines,
              test.windows ? std::vector<std::string>{}
                           : std::vector<std::string>{"Error: Could not retrieve window list from Core Graphics."})
        << test.name;
  }
}

struct ShowCase {
  std::int64_t command;
  bool result;
  std::vector<std::string> actions;
  std::int64_t number = 42;
  bool screen = true;
};

// Only codes 0, 1, 2, 3, 6 and 9 act, on the host's own windows only; 3 keeps
// the origin and takes the main screen's size (none without a screen).
TEST_F(WindowCommandsTest, ShowWindowActsOnSixCodesOfTheHostsOwnWindowsOnly) {
  const std::vector<ShowCase> cases = {
      {0, true, {"hide"}},
      {1, true, {"present"}},
      {2, true, {"minimise"}},
      {3, true, {"setFrame 100 200 1440 900", "present"}},
      {3, true, {"setFrame 100 200 0 0", "present"}, 42, false},
      {4, false, {}},
      {5, false, {}},
      {6, true, {"minimise"}},
      {7, false, {}},
      {8, false, {}},
      {9, true, {"setFrame 100 200 640 480", "present"}},
      {10, false, {}},
      {11, false, {}},
      {12, false, {}},
      {-1, false, {}},
      {std::numeric_limits<std::int64_t>::min(), false, {}},
      {0, false, {}, 43},
      {1, false, {}, 43},
      {3, false, {}, 43},
      {9, false, {}, 43},
  };
  for (const ShowCase& test : cases) {
    desktop.screens.screen = test.screen ? std::optional(ScreenFrames{{0, 0, 1440, 900}, {0, 80, 1440, 795}}) : std::nullopt;
    desktop.hostWindows.states = {{41, {0, 0, 10, 10}, {}}, {42, {100, 200, 640, 480}, {}}};
    EXPECT_EQ(call("window::showWindow", arguments({{"windowHandle", test.number}, {"command", test.command}})),
              ChannelReply::success(test.result))
        << test.number << " " << test.command;
    EXPECT_EQ(desktop.hostWindows.states[1].actions, test.actions) << test.number << " " << test.command;
    EXPECT_TRUE(desktop.hostWindows.states[0].actions.empty());
  }
}

struct ScreenCase {
  std::string name;
  std::optional<ScreenFrames> screen;
  ChannelReply bounds;
  ChannelReply workingArea;
};

// The main screen's size and work area, truncated; the arguments are ignored.
TEST_F(WindowCommandsTest, ScreenMetricsAnswerTheMainScreenOrTheirFailureValues) {
  const double infinite = std::numeric_limits<double>::infinity();
  const std::vector<ScreenCase> cases = {
      {"panels and docks", ScreenFrames{{0, 0, 1440, 900}, {0, 80, 1440, 795}},
       integers({{"width", 1440}, {"height", 900}}), integers({{"width", 1440}, {"height", 795}})},
      {"fractions truncate", ScreenFrames{{0, 0, 1440.9, 900.5}, {0, 0, 1439.99, 874.5}},
       integers({{"width", 1440}, {"height", 900}}), integers({{"width", 1439}, {"height", 874}})},
      {"no screen", std::nullopt, integers({{"width", 0}, {"height", 0}}), ChannelReply::success(ChannelMap{})},
      {"not finite", ScreenFrames{{0, 0, infinite, 10}, {0, 0, infinite, 10}}, integers({{"width", 0}, {"height", 0}}),
       ChannelReply::success(ChannelMap{})},
  };
  for (const ScreenCase& test : cases) {
    desktop.screens.screen = test.screen;
    EXPECT_EQ(call("window::getScreenBounds", ChannelValue("x")), test.bounds) << test.name;
    EXPECT_EQ(call("window::getScreenWorkingAreaDimensions", ChannelValue(ChannelList{})), test.workingArea)
        << test.name;
  }
}

// The alert is built on a later turn; only an integer timeout arms its close.
TEST_F(WindowCommandsTest, ShowAlertAnswersNullBeforeTheAlertExists) {
  desktop.textMeasurer.heights = {{"t", 20.0}, {"m", 20.0}};
  const std::pair<ChannelValue, std::size_t> cases[] = {
      {ChannelValue(std::int64_t{5}), 1}, {ChannelValue(std::int32_t{5}), 1}, {ChannelValue(), 0},
      {ChannelValue("5"), 0},             {ChannelValue(5.0), 0},
  };
  for (const auto& [timeout, armed] : cases) {
    desktop.alertWindows.records.clear();
    desktop.mainQueue.delayed.clear();
    EXPECT_EQ(call("window::showAlert", arguments({{"title", "t"}, {"message", "m"}, {"timeout", timeout}})),
              ChannelReply::success());
    EXPECT_TRUE(desktop.alertWindows.records.empty());
    desktop.mainQueue.runPosted();
    EXPECT_EQ(desktop.alertWindows.records.size(), 1U);
    EXPECT_EQ(desktop.mainQueue.delayed.size(), armed) << describe(timeout);
  }
}

}  // namespace
}  // namespace quillon
