// The alert's arithmetic and the order in which it is built, through fakes.
#include "window/non_modal_alert_window.h"

#include <gtest/gtest.h>

#include "tests/window/fake_desktop.h"

namespace quillon {
namespace {

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

TEST(NonModalAlertWindowTest, MeasuresBuildsPlacesShowsAndArmsTheCloseInThatOrder) {
  testing::FakeDesktop desktop;
  desktop.textMeasurer.heights = {{"Title", 19.1}, {"Message", 48.0}};
  desktop.hostWindows.states = {{42, {100, 100, 800, 600}, {}}};
  desktop.hostWindows.key = 0;
  desktop.alertWindows.titleBarHeight = 52.0;  // the alert's whole frame is 400 x 200
  { NonModalAlertWindow alert(desktop.services, "Title", "Message", 3); }

  using Request = std::tuple<std::string, double, SystemFont>;
  EXPECT_EQ(desktop.textMeasurer.requests, (std::vector<Request>{{"Message", 360.0, {13.0, FontWeight::regular}},
                                                                 {"Title", 360.0, {16.0, FontWeight::bold}}}));
  ASSERT_EQ(desktop.alertWindows.records.size(), 1U);
  const testing::FakeAlertRecord& record = *desktop.alertWindows.records[0];
  EXPECT_EQ(record.style, (AlertWindowStyle{"QUILLON Remote App", 400.0, 148.0, true, false, false, true}));
  EXPECT_EQ(record.frame, (FrameRect{300, 300, 400, 200}));
  const AlertContent expectedContent{
      "Title",
      {16.0, FontWeight::bold},
      "Message",
      {13.0, FontWeight::regular},
      "OK",
      {14.0, FontWeight::semibold},
      {.titleTop = 10, .sideInset = 20, .messageTop = 10, .buttonTop = 10, .buttonBottom = 10, .buttonWidth = 80,
       .buttonHeight = 30},
  };
  EXPECT_EQ(record.content, expectedContent);
  ASSERT_EQ(desktop.mainQueue.delayed.size(), 1U);
  EXPECT_EQ(desktop.mainQueue.delayed[0].first, std::chrono::seconds(3));
  desktop.mainQueue.delayed[0].second();
  EXPECT_EQ(record.calls, (std::vector<std::string>{"setFrameOrigin", "setContent", "makeKeyAndOrderFront", "close"}));
}

TEST(NonModalAlertWindowTest, WithoutAKeyWindowThePlatformCentres) {
  testing::FakeDesktop desktop;
  desktop.textMeasurer.heights = {{"T", 20.0}, {"M", 450.0}};
  NonModalAlertWindow(desktop.services, "T", "M", 0);
  ASSERT_EQ(desktop.alertWindows.records.size(), 1U);
  EXPECT_EQ(desktop.alertWindows.records[0]->style.contentHeight, 400.0);
  EXPECT_EQ(desktop.alertWindows.records[0]->calls,
            (std::vector<std::string>{"centre", "setContent", "makeKeyAndOrderFront"}));
}

// Nothing arms the close but a positive timeout on an alert that was made.
TEST(NonModalAlertWindowTest, OnlyAPositiveTimeoutOnAShownAlertArmsTheClose) {
  const std::pair<std::int64_t, bool> cases[] = {
      {0, true}, {-5, true}, {std::numeric_limits<std::int64_t>::min(), true}, {5, false}};
  for (const auto& [timeout, canCreate] : cases) {
    testing::FakeDesktop desktop;
    desktop.textMeasurer.heights = {{"T", 20.0}, {"M", 20.0}};
    desktop.alertWindows.canCreate = canCreate;
    NonModalAlertWindow(desktop.services, "T", "M", timeout);
    EXPECT_TRUE(desktop.mainQueue.delayed.empty()) << timeout;
  }
}

}  // namespace
}  // namespace quillon
