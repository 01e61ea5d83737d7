// The window services (ApplicationWindow, NonModalAlertWindow) and their five
// "window::" commands through fakes of the desktop: argument checks, exact
// cases of the rules, the alert's arithmetic and the order it is built in.
#include "commands/window_commands.h"

#include <gtest/gtest.h>

#include <limits>

#include "commands/command_dispatcher.h"
#include "tests/support/inline_background_work.h"
#include "tests/support/reply_recorder.h"
#include "tests/window/fake_desktop.h"
#include "window/non_modal_alert_window.h"

namespace quillon::testing {
namespace {

// The commands' maps of 64-bit integers.
ChannelReply rect(std::int64_t top, std::int64_t left, std::int64_t bottom, std::int64_t right) {
  return ChannelReply::success(argumentMap({{"top", top}, {"left", left}, {"bottom", bottom}, {"right", right}}));
}
ChannelReply size(std::int64_t width, std::int64_t height) {
  return ChannelReply::success(argumentMap({{"width", width}, {"height", height}}));
}

WindowListEntry entry(std::optional<std::int64_t> owner, std::optional<WindowBounds> bounds) {
  return WindowListEntry{owner, std::string("w"), bounds};
}

class WindowCommandsTest : public ::testing::Test {
 protected:
  ChannelReply call(const std::string& method, ChannelValue args = {}) {
    return answerOf([&](ReplyCallback reply) { dispatcher.handle(MethodCall{method, std::move(args)}, std::move(reply)); });
  }

  FakeDesktop desktop;
  testing::InlineBlockingWork work;
  CommandDispatcher dispatcher{windowCommands(desktop.services, work.blocking)};
};

TEST_F(WindowCommandsTest, FailedChecksAnswerInvalidArgumentAndDoNothing) {
  const std::map<std::string, std::string> messages{{"window::getWindowRect", "Expected windowHandle"},
                                                    {"window::showWindow", "Expected windowHandle and command"},
                                                    {"window::showAlert", "Expected title and message"}};
  const std::pair<const char*, ChannelValue> cases[] = {
      {"window::getWindowRect", argumentMap({{"windowHandle", std::int64_t{5}}})},
      {"window::getWindowRect", argumentMap({{"processId", "5"}})},
      {"window::getWindowRect", ChannelValue()},
      {"window::showWindow", argumentMap({{"windowHandle", std::int64_t{42}}})},
      {"window::showWindow", argumentMap({{"command", std::int32_t{1}}})},
      {"window::showWindow", ChannelValue(ChannelList{})},
      {"window::showAlert", argumentMap({{"title", "t"}, {"message", "m"}})},
      {"window::showAlert", argumentMap({{"title", "t"}, {"timeout", std::int64_t{1}}})},
      {"window::showAlert", argumentMap({{"title", std::int64_t{1}}, {"message", "m"}, {"timeout", std::int64_t{1}}})},
      {"window::showAlert", ChannelValue("x")},
  };
  desktop.hostWindows = {{42, {0, 0, 10, 10}}};
  for (const auto& [method, arguments] : cases) {
    EXPECT_EQ(call(method, arguments), ChannelReply::error("INVALID_ARGUMENT", messages.at(method)))
        << method << " " << describe(arguments);
  }
  EXPECT_TRUE(desktop.log.empty());
  EXPECT_TRUE(desktop.posted.empty());
}

// Front-most first, the first window of the process with bounds; sums before
// truncation; no list: null and one line.
TEST_F(WindowCommandsTest, GetWindowRectAnswersTheProcesssFrontMostWindow) {
  const WindowBounds plain{10.0, 20.0, 300.0, 400.0};
  const double huge = std::numeric_limits<double>::max();
  const ChannelReply null = ChannelReply::success();
  const std::tuple<const char*, std::optional<std::vector<WindowListEntry>>, ChannelReply> cases[] = {
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
  for (const auto& [name, windows, reply] : cases) {
    desktop.windowList.windows = windows;
    desktop.diagnostics.lines.clear();
    EXPECT_EQ(call("window::getWindowRect", argumentMap({{"processId", std::int32_t{7}}})), reply) << name;
    EXPECT_EQ(desktop.diagnostics.lines,
              windows ? std::vector<std::string>{}
                      : std::vector<std::string>{"Error: Could not retrieve window list from Core Graphics."})
        << name;
  }
}

struct ShowCase {
  std::int64_t command;
  std::vector<std::string> log;  // empty: answers false
  std::int64_t number = 42;
  bool screen = true;
};

// Only codes 0, 1, 2, 3, 6 and 9 act, on the host's own windows only (window
// 41 is never touched); 3 keeps the origin and takes the main screen's size
// (none without a screen).
TEST_F(WindowCommandsTest, ShowWindowActsOnSixCodesOfTheHostsOwnWindowsOnly) {
  std::vector<ShowCase> cases = {
      {0, {"42 hide"}},
      {1, {"42 present"}},
      {2, {"42 minimise"}},
      {3, {"42 setFrame 100 200 1440 900", "42 present"}},
      {3, {"42 setFrame 100 200 0 0", "42 present"}, 42, false},
      {6, {"42 minimise"}},
      {9, {"42 setFrame 100 200 640 480", "42 present"}},
  };
  for (const std::int64_t idle : {4, 5, 7, 8, 10, 11, 12, -1}) cases.push_back({idle, {}});
  cases.push_back({std::numeric_limits<std::int64_t>::min(), {}});
  for (const std::int64_t command : {0, 1, 3, 9}) cases.push_back({command, {}, 43});
  for (const ShowCase& test : cases) {
    desktop.screen = test.screen ? std::optional(ScreenFrames{{0, 0, 1440, 900}, {0, 80, 1440, 795}}) : std::nullopt;
    desktop.hostWindows = {{41, {0, 0, 10, 10}}, {42, {100, 200, 640, 480}}};
    desktop.log.clear();
    EXPECT_EQ(call("window::showWindow", argumentMap({{"windowHandle", test.number}, {"command", test.command}})),
              ChannelReply::success(!test.log.empty()))
        << test.number << " " << test.command;
    EXPECT_EQ(desktop.log, test.log) << test.number << " " << test.command;
  }
}

// The main screen's size and work area, truncated; the arguments are ignored.
TEST_F(WindowCommandsTest, ScreenMetricsAnswerTheMainScreenOrTheirFailureValues) {
  const double infinite = std::numeric_limits<double>::infinity();
  const ChannelReply none = ChannelReply::success(ChannelMap{});
  const std::tuple<const char*, std::optional<ScreenFrames>, ChannelReply, ChannelReply> cases[] = {
      {"panels and docks", ScreenFrames{{0, 0, 1440, 900}, {0, 80, 1440, 795}}, size(1440, 900), size(1440, 795)},
      {"fractions truncate", ScreenFrames{{0, 0, 1440.9, 900.5}, {0, 0, 1439.99, 874.5}}, size(1440, 900),
       size(1439, 874)},
      {"no screen", std::nullopt, size(0, 0), none},
      {"not finite", ScreenFrames{{0, 0, infinite, 10}, {0, 0, infinite, 10}}, size(0, 0), none},
  };
  for (const auto& [name, screen, bounds, workingArea] : cases) {
    desktop.screen = screen;
    EXPECT_EQ(call("window::getScreenBounds", ChannelValue("x")), bounds) << name;
    EXPECT_EQ(call("window::getScreenWorkingAreaDimensions", ChannelValue(ChannelList{})), workingArea) << name;
  }
}

// The alert is built on a later turn; only a positive integer timeout arms its
// close, and only when the platform could make the window.
TEST_F(WindowCommandsTest, ShowAlertAnswersNullBeforeTheAlertExists) {
  desktop.heights = {{"t", 20.0}, {"m", 20.0}};
  const std::tuple<ChannelValue, bool, std::size_t> cases[] = {
      {ChannelValue(std::int64_t{5}), true, 1}, {ChannelValue(std::int32_t{5}), true, 1},
      {ChannelValue(), true, 0},                {ChannelValue("5"), true, 0},
      {ChannelValue(5.0), true, 0},             {ChannelValue(std::int64_t{0}), true, 0},
      {ChannelValue(std::int64_t{-5}), true, 0}, {ChannelValue(std::numeric_limits<std::int64_t>::min()), true, 0},
      {ChannelValue(std::int64_t{5}), false, 0},
  };
  for (const auto& [timeout, canCreate, armed] : cases) {
    desktop.canCreate = canCreate;
    desktop.alerts.clear();
    desktop.delayed.clear();
    EXPECT_EQ(call("window::showAlert", argumentMap({{"title", "t"}, {"message", "m"}, {"timeout", timeout}})),
              ChannelReply::success());
    EXPECT_TRUE(desktop.alerts.empty());
    desktop.runPosted();
    EXPECT_EQ(desktop.alerts.size(), canCreate ? 1U : 0U);
    EXPECT_EQ(desktop.delayed.size(), armed) << describe(timeout) << " " << canCreate;
  }
}

// Texts up to their limits are measured as they are; a byte more, and the
// call is refused before anything is posted.
TEST_F(WindowCommandsTest, AlertTextsBeyondTheirLimitsAreRefusedBeforeAnythingIsPosted) {
  const std::string title(256, 't');
  const std::string message(1024, 'm');
  desktop.heights = {{title, 20.0}, {message, 20.0}, {"t", 20.0}, {"m", 20.0}};
  const std::tuple<std::string, std::string, std::optional<std::string>> cases[] = {
      {title, message, std::nullopt},
      {title + "t", "m", "Expected title of at most 256 bytes"},
      {"t", message + "m", "Expected message of at most 1024 bytes"},
      {title + "t", message + "m", "Expected title of at most 256 bytes"},
  };
  for (const auto& [sentTitle, sentMessage, refusal] : cases) {
    desktop.measured.clear();
    const ChannelReply reply =
        call("window::showAlert", argumentMap({{"title", sentTitle}, {"message", sentMessage}, {"timeout", 0}}));
    desktop.runPosted();
    if (refusal) {
      EXPECT_EQ(reply, ChannelReply::error("INVALID_ARGUMENT", *refusal));
      EXPECT_TRUE(desktop.measured.empty());
    } else {
      EXPECT_EQ(reply, ChannelReply::success());
      EXPECT_EQ(desktop.measured.size(), 2U);
    }
  }
}

TEST(NonModalAlertWindowTest, ContentHeightCapsTheMessageAndRoundsUpTheTitle) {
  // {message, title, content height}: the message is capped at 300 and not rounded.
  const double cases[][3] = {{48.0, 19.1, 148.0}, {450.0, 20.0, 400.0}, {300.0, 20.0, 400.0}, {48.5, 20.0, 148.5},
                             {0.0, 0.0, 80.0}};
  for (const auto& [message, title, height] : cases) {
    EXPECT_DOUBLE_EQ(NonModalAlertWindow::contentHeight(message, title), height) << message << " " << title;
  }
  EXPECT_EQ(NonModalAlertWindow::centredOver({100, 100, 800, 600}, {0, 0, 400, 200}), (FrameRect{300, 300, 400, 200}));
  EXPECT_EQ(NonModalAlertWindow::centredOver({0, 0, 300, 100}, {0, 0, 400, 201}), (FrameRect{-50, -50.5, 400, 201}));
}

// Over the key window, whose frame and the alert's whole frame (400 x 200)
// place it at (300, 300); without one the platform centres it. Its close runs
// when its timer does, after everything else.
TEST(NonModalAlertWindowTest, MeasuresBuildsPlacesShowsAndArmsTheCloseInThatOrder) {
  FakeDesktop desktop;
  desktop.heights = {{"Title", 19.1}, {"Message", 48.0}};
  desktop.hostWindows = {{42, {100, 100, 800, 600}}};
  desktop.key = 0;
  desktop.titleBarHeight = 52.0;
  { NonModalAlertWindow alert(desktop.services, "Title", "Message", 3); }
  desktop.key.reset();
  { NonModalAlertWindow alert(desktop.services, "Title", "Message", 0); }

  using Request = std::tuple<std::string, double, SystemFont>;
  const Request message{"Message", 360.0, {13.0, FontWeight::regular}}, title{"Title", 360.0, {16.0, FontWeight::bold}};
  EXPECT_EQ(desktop.measured, (std::vector<Request>{message, title, message, title}));
  ASSERT_EQ(desktop.alerts.size(), 2U);
  EXPECT_EQ(desktop.alerts[0].style, (AlertWindowStyle{"QUILLON Remote App", 400.0, 148.0, true, false, false, true}));
  EXPECT_EQ(desktop.alerts[0].content,
            (AlertContent{"Title", {16.0, FontWeight::bold}, "Message", {13.0, FontWeight::regular}, "OK",
                          {14.0, FontWeight::semibold},
                          {.titleTop = 10, .sideInset = 20, .messageTop = 10, .buttonTop = 10, .buttonBottom = 10,
                           .buttonWidth = 80, .buttonHeight = 30}}));
  ASSERT_EQ(desktop.delayed.size(), 1U);
  EXPECT_EQ(desktop.delayed[0].first, std::chrono::seconds(3));
  std::move(desktop.delayed[0].second)();
  EXPECT_EQ(desktop.log, (std::vector<std::string>{"alert setFrameOrigin 300 300", "alert setContent",
                                                   "alert makeKeyAndOrderFront", "alert centre", "alert setContent",
                                                   "alert makeKeyAndOrderFront", "alert close"}));
}

}  // namespace
}  // namespace quillon::testing
