#include "window/application_window.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/window/fake_desktop.h"

namespace quillon {
namespace {

constexpr std::string_view kNoWindowList = "Error: Could not retrieve window list from Core Graphics.";

WindowListEntry entry(std::optional<std::int64_t> owner, std::optional<WindowBounds> bounds) {
  return WindowListEntry{owner, std::string("w"), bounds};
}

struct RectCase {
  std::string name;
  std::optional<std::vector<WindowListEntry>> windows;
  std::optional<WindowRect> expected;
};

TEST(ApplicationWindowTest, GetWindowRectWalksFrontMostFirstAndTruncatesAfterTheSums) {
  const WindowBounds plain{10.0, 20.0, 300.0, 400.0};
  const double huge = std::numeric_limits<double>::max();
  const std::vector<RectCase> cases = {
      {"fractions truncate toward zero", {{entry(7, WindowBounds{-100.7, 20.2, 50.9, 10.9})}}, WindowRect{20, -100, 31, -49}},
      {"sum before truncation", {{entry(7, WindowBounds{10.6, 0.0, 0.5, 0.0})}}, WindowRect{0, 10, 0, 11}},
      {"missing width and height", {{entry(7, WindowBounds{5.5, 6.5, std::nullopt, std::nullopt})}}, WindowRect{6, 5, 6, 5}},
      {"missing everything counts as zero", {{entry(7, WindowBounds{})}}, WindowRect{0, 0, 0, 0}},
      {"front-most of two", {{entry(7, plain), entry(7, WindowBounds{1, 2, 3, 4})}}, WindowRect{20, 10, 420, 310}},
      {"second when the first lacks bounds", {{entry(7, std::nullopt), entry(7, plain)}}, WindowRect{20, 10, 420, 310}},
      {"other processes passed over", {{entry(8, WindowBounds{1, 2, 3, 4}), entry(std::nullopt, plain), entry(7, plain)}},
       WindowRect{20, 10, 420, 310}},
      {"empty list", std::vector<WindowListEntry>{}, std::nullopt},
      {"unmatched process", {{entry(8, plain)}}, std::nullopt},
      {"only windows without bounds", {{entry(7, std::nullopt)}}, std::nullopt},
      {"not a number", {{entry(7, WindowBounds{std::numeric_limits<double>::quiet_NaN(), 0, 1, 1})}}, std::nullopt},
      {"beyond 64 bits", {{entry(7, WindowBounds{0, 0, huge, 1})}}, std::nullopt},
      {"no list: one line printed", std::nullopt, std::nullopt},
  };
  for (const RectCase& test : cases) {
    testing::FakeDesktop desktop;
    desktop.windowList.windows = test.windows;
    EXPECT_EQ(ApplicationWindow::getWindowRect(desktop.services, 7), test.expected) << test.name;
    EXPECT_EQ(desktop.diagnostics.lines,
              test.windows ? std::vector<std::string>{} : std::vector<std::string>{std::string(kNoWindowList)})
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

TEST(ApplicationWindowTest, ShowWindowActsOnSixCodesOfTheHostsOwnWindowsOnly) {
  const std::string maximised = "setFrame 100.000000 200.000000 1440.000000 900.000000";
  const std::string restored = "setFrame 100.000000 200.000000 640.000000 480.000000";
  const std::vector<ShowCase> cases = {
      {0, true, {"hide"}},
      {1, true, {"present"}},
      {2, true, {"minimise"}},
      {3, true, {maximised, "present"}},
      {3, true, {"setFrame 100.000000 200.000000 0.000000 0.000000", "present"}, 42, false},  // no screen
      {4, false, {}},
      {5, false, {}},
      {6, true, {"minimise"}},
      {7, false, {}},
      {8, false, {}},
      {9, true, {restored, "present"}},
      {10, false, {}},
      {11, false, {}},
      {12, false, {}},
      {-1, false, {}},
      {1000, false, {}},
      {std::numeric_limits<std::int64_t>::min(), false, {}},
      {0, false, {}, 43},  // a number that is no window of the host
      {1, false, {}, 43},
      {3, false, {}, 43},
      {9, false, {}, 43},
  };
  for (const ShowCase& test : cases) {
    testing::FakeDesktop desktop;
    if (test.screen) desktop.screens.screen = ScreenFrames{{0, 0, 1440, 900}, {0, 80, 1440, 795}};
    desktop.hostWindows.states = {{41, {0, 0, 10, 10}, {}}, {42, {100, 200, 640, 480}, {}}};
    EXPECT_EQ(ApplicationWindow::showWindow(desktop.services, test.number, test.command), test.result) << test.command;
    EXPECT_EQ(desktop.hostWindows.states[1].actions, test.actions) << test.command;
    EXPECT_TRUE(desktop.hostWindows.states[0].actions.empty()) << test.command;
  }
}

struct ScreenCase {
  std::string name;
  std::optional<ScreenFrames> screen;
  ScreenDimensions bounds;
  std::optional<ScreenDimensions> workingArea;
};

TEST(ApplicationWindowTest, ScreenMetricsAnswerDifferentlyWithoutAScreen) {
  const double huge = std::numeric_limits<double>::infinity();
  const std::vector<ScreenCase> cases = {
      {"menu bar and dock", ScreenFrames{{0, 0, 1440, 900}, {0, 80, 1440, 795}}, {1440, 900}, ScreenDimensions{1440, 795}},
      {"fractions truncate", ScreenFrames{{0, 0, 1440.9, 900.5}, {0, 0, 1439.99, 874.5}}, {1440, 900},
       ScreenDimensions{1439, 874}},
      {"no screen", std::nullopt, {0, 0}, std::nullopt},
      {"not finite", ScreenFrames{{0, 0, huge, 10}, {0, 0, huge, 10}}, {0, 0}, std::nullopt},
  };
  for (const ScreenCase& test : cases) {
    testing::FakeDesktop desktop;
    desktop.screens.screen = test.screen;
    EXPECT_EQ(ApplicationWindow::getScreenBounds(desktop.services), test.bounds) << test.name;
    EXPECT_EQ(ApplicationWindow::getScreenWorkingAreaDimensions(desktop.services), test.workingArea) << test.name;
  }
}

}  // namespace
}  // namespace quillon
