// The five "window::" commands over the link, answered by the built host on the
// X display in DISPLAY.
#include <gtest/gtest.h>

// The link's headers before Xlib's, whose Status macro they would meet.
#include "tests/support/catalogue_end_to_end_test.h"
#include "platform/linux/x11_window_list.h"
#include "tests/window/desktop_support.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

using testing::argumentMap;

class WindowEndToEndTest : public testing::CatalogueEndToEndTest {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("DISPLAY"), nullptr) << "run under scripts/with-desktop";
    ASSERT_TRUE(gtkDesktopAvailable());
    CatalogueEndToEndTest::SetUp();
  }
};

std::int64_t entry(const ChannelReply& reply, const char* key) {
  return reply.value().get<ChannelMap>().find(std::string_view(key))->asInteger().value_or(-1);
}

// The host has no window on the screen: its main screen is the primary
// monitor, in points.
TEST_F(WindowEndToEndTest, ScreenMetricsRectanglesAndTitles) {
  GdkDisplay* display = gdk_display_get_default();
  GdkMonitor* primary = gdk_display_get_primary_monitor(display);
  GdkRectangle monitor{};
  gdk_monitor_get_geometry(primary != nullptr ? primary : gdk_display_get_monitor(display, 0), &monitor);
  // Integers that fit 32 bits travel as 32-bit values.
  EXPECT_EQ(call("window::getScreenBounds"),
            ChannelReply::success(argumentMap({{"width", std::int32_t{monitor.width}},
                                               {"height", std::int32_t{monitor.height}}})));
  const ChannelReply workArea = call("window::getScreenWorkingAreaDimensions");
  ASSERT_TRUE(workArea.isSuccess()) << describe(workArea.value());
  EXPECT_EQ(entry(workArea, "width"), monitor.width);

  testing::SpawnedProgram client({X11_TEST_CLIENT, "Remote desktop", "300x200+100+150"});
  const int scale = testing::desktopTraits().scale;
  std::optional<WindowBounds> expected;
  ChannelReply rect = ChannelReply::success();
  // Ready once framed: larger than its own 300 x 200 device pixels.
  EXPECT_TRUE(testing::waitUntil([&] {
    const Window window = static_cast<Window>(
        std::strtoul(testing::toolOutput("xdotool search --name '^Remote desktop$'").c_str(), nullptr, 10));
    expected = window != 0 ? testing::topLevelBounds(window, scale) : std::nullopt;
    rect = call("window::getWindowRect", argumentMap({{"processId", std::int64_t{client.pid()}}}));
    return expected && *expected->width * scale > 300.0 && rect.isSuccess() && rect.value().is<ChannelMap>() &&
           entry(rect, "left") == static_cast<std::int64_t>(*expected->x) &&
           entry(rect, "top") == static_cast<std::int64_t>(*expected->y) &&
           entry(rect, "right") == static_cast<std::int64_t>(*expected->x + *expected->width);
  })) << describe(rect.isSuccess() ? rect.value() : ChannelValue());
  // The process services read the same window list.
  EXPECT_EQ(call("process::getMainWindowTitle", argumentMap({{"processId", std::int64_t{client.pid()}}})),
            ChannelReply::success("Remote desktop"));
  EXPECT_EQ(call("window::getWindowRect", argumentMap({{"windowHandle", std::int64_t{1}}})),
            ChannelReply::error("INVALID_ARGUMENT", "Expected windowHandle"));
  EXPECT_EQ(call("window::showWindow", argumentMap({{"windowHandle", std::int64_t{1}}, {"command", std::int64_t{1}}})),
            ChannelReply::success(false));
}

TEST_F(WindowEndToEndTest, ShowAlertAnswersNullAndTheHostShowsItUntilItsTimeout) {
  EXPECT_EQ(call("window::showAlert", argumentMap({{"title", "Update"}, {"message", "Done."}, {"timeout", std::int64_t{1}}})),
            ChannelReply::success());
  X11WindowList list;
  const auto alertShown = [&] {
    for (const auto& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
      if (entry.name == "QUILLON Remote App" && entry.ownerProcessId != getpid()) return true;
    }
    return false;
  };
  EXPECT_TRUE(testing::waitUntil(alertShown));
  EXPECT_TRUE(testing::waitUntil([&] { return !alertShown(); }));
}

}  // namespace
}  // namespace quillon
