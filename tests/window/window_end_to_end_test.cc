// The five "window::" commands over the link, answered by the built host on the
// X display in DISPLAY, and without a display.
#include <gtest/gtest.h>

// The link's headers before Xlib's, whose Status macro they would meet.
#include "tests/support/host_conversation.h"
#include "tests/window/desktop_support.h"
#include "window/application_window.h"

namespace quillon::testing {
namespace {

class WindowEndToEndTest : public CatalogueEndToEndTest {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("DISPLAY"), nullptr) << "run under scripts/with-desktop";
    ASSERT_TRUE(gtkDesktopAvailable());
    CatalogueEndToEndTest::SetUp();
  }

  LinuxDesktop desktop;  // what the host answers from, in this process
};

// A map of integers as the codec carries them: 32-bit values where they fit,
// as screens' do.
ChannelReply integers(std::initializer_list<std::pair<const char*, std::int64_t>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, static_cast<std::int32_t>(value));
  return ChannelReply::success(map);
}

// The host has no window on the screen: its main screen is the primary
// monitor, in points (no desktop here has panels: the work area is the whole
// monitor). A client's rectangle and title come from the same
// window list as in this process, wherever the window manager put it. The
// host shows an alert until its timeout.
TEST_F(WindowEndToEndTest, ScreenMetricsRectanglesTitlesAndAnAlert) {
  GdkDisplay* display = gdk_display_get_default();
  GdkMonitor* primary = gdk_display_get_primary_monitor(display);
  GdkRectangle monitor{};
  gdk_monitor_get_geometry(primary != nullptr ? primary : gdk_display_get_monitor(display, 0), &monitor);
  const ChannelReply size = integers({{"width", monitor.width}, {"height", monitor.height}});
  EXPECT_EQ(call("window::getScreenBounds"), size);
  EXPECT_EQ(call("window::getScreenWorkingAreaDimensions"), size);

  XClient client({"Remote desktop", "300x200+100+150"});
  const auto processId = argumentMap({{"processId", std::int64_t{client.pid()}}});
  ChannelReply rect = ChannelReply::success();
  EXPECT_TRUE(waitUntil([&] {
    const auto expected = ApplicationWindow::getWindowRect(desktop.services, client.pid());
    rect = call("window::getWindowRect", processId);
    return expected && rect == integers({{"top", expected->top}, {"left", expected->left},
                                         {"bottom", expected->bottom}, {"right", expected->right}});
  })) << describe(rect.isSuccess() ? rect.value() : ChannelValue());
  EXPECT_EQ(call("process::getMainWindowTitle", processId), ChannelReply::success("Remote desktop"));
  EXPECT_EQ(call("window::showWindow", argumentMap({{"windowHandle", std::int64_t{1}}, {"command", std::int64_t{1}}})),
            ChannelReply::success(false));

  EXPECT_EQ(call("window::showAlert", argumentMap({{"title", "Update"}, {"message", "Done."}, {"timeout", std::int64_t{1}}})),
            ChannelReply::success());
  const auto alertShown = [&] { return !windowsOf(desktop.windowList, host_.pid(), "QUILLON Remote App").empty(); };
  EXPECT_TRUE(waitUntil(alertShown));
  EXPECT_TRUE(waitUntil([&] { return !alertShown(); }));
}

// Without a display every Linux service answers its failure value, the alert
// is measured and not shown, and the host goes on serving.
class HeadlessWindowEndToEndTest : public CatalogueEndToEndTest {
 protected:
  HeadlessWindowEndToEndTest() : CatalogueEndToEndTest({.headless = true}) {}
};

TEST_F(HeadlessWindowEndToEndTest, EveryCommandAnswersItsFailureValue) {
  EXPECT_EQ(call("window::getWindowRect", argumentMap({{"processId", std::int64_t{1}}})), ChannelReply::success());
  EXPECT_EQ(call("window::showWindow", argumentMap({{"windowHandle", std::int64_t{1}}, {"command", std::int64_t{1}}})),
            ChannelReply::success(false));
  EXPECT_EQ(call("window::getScreenBounds"), integers({{"width", 0}, {"height", 0}}));
  EXPECT_EQ(call("window::getScreenWorkingAreaDimensions"), ChannelReply::success(ChannelMap{}));
  EXPECT_EQ(call("window::showAlert", argumentMap({{"title", "T"}, {"message", "M"}, {"timeout", std::int64_t{1}}})),
            ChannelReply::success());
  EXPECT_TRUE(call("assembly::getExecutingAssemblyPath").isSuccess());
  EXPECT_EQ(host_.stop(), 0);
  EXPECT_EQ(host_.output(), "Error: Could not retrieve window list from Core Graphics.\n");
}

}  // namespace
}  // namespace quillon::testing
