// showWindow on the host's own GTK windows, and the screen metrics, on the X
// display: on each of its monitors, at its scale.
// gtest first: Xlib's None macro would break it.
#include "tests/window/desktop_support.h"
#include "window/application_window.h"

#include <unistd.h>

#include <cstdlib>

namespace quillon {
namespace {

bool iconified(GtkWindow* window) {
  return (gdk_window_get_state(gtk_widget_get_window(GTK_WIDGET(window))) & GDK_WINDOW_STATE_ICONIFIED) != 0;
}

class DesktopHostWindowsTest : public testing::DesktopTest {
 protected:
  bool show(GtkWindow* window, std::int64_t command) {
    return ApplicationWindow::showWindow(desktop.services, static_cast<std::int64_t>(testing::numberOf(window)),
                                         command);
  }

  bool listed(const std::string& name) {
    for (const WindowListEntry& entry : desktop.windowList.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
      if (entry.ownerProcessId == getpid() && entry.name == name) return true;
    }
    return false;
  }

  // The monitor's work area as the window manager publishes it
  // (_NET_WORKAREA, device pixels, for the whole screen), cut to the monitor;
  // the whole monitor where the window manager publishes none.
  ScreenDimensions workAreaOf(const GdkRectangle& monitor) const {
    const auto area = testing::property<long>(gdk_x11_get_default_root_xwindow(), "_NET_WORKAREA");
    if (area.size() < 4) return ScreenDimensions{monitor.width, monitor.height};
    const auto scaled = [this](long value) { return static_cast<int>(value) / traits.scale; };
    const int left = std::max(monitor.x, scaled(area[0]));
    const int top = std::max(monitor.y, scaled(area[1]));
    const int right = std::min(monitor.x + monitor.width, scaled(area[0] + area[2]));
    const int bottom = std::min(monitor.y + monitor.height, scaled(area[1] + area[3]));
    return ScreenDimensions{right - left, bottom - top};
  }
};

// Hide and show, and numbers that are no window of the host (the root, a
// number beside the window's) left alone; then showing takes the keyboard
// from another window, where the window manager gives any.
TEST_F(DesktopHostWindowsTest, HideShowAndPresent) {
  GtkWindow* window = openWindow("Host window", 400, 300);
  ASSERT_TRUE(testing::waitUntil([&] { return listed("Host window"); }));
  const auto root = static_cast<std::int64_t>(gdk_x11_get_default_root_xwindow());
  for (const std::int64_t number : {root, static_cast<std::int64_t>(testing::numberOf(window)) + 1}) {
    EXPECT_FALSE(ApplicationWindow::showWindow(desktop.services, number, 0)) << number;
  }
  EXPECT_TRUE(listed("Host window"));

  EXPECT_TRUE(show(window, 0));
  EXPECT_TRUE(testing::waitUntil([&] { return !listed("Host window"); }));
  EXPECT_TRUE(show(window, 1));
  EXPECT_TRUE(testing::waitUntil([&] { return listed("Host window") && !iconified(window); }));

  GtkWindow* other = openWindow("Other host window", 300, 200);
  if (!becomesActive(other)) GTEST_SKIP() << traits.windowManager << " gives no window the keyboard";
  EXPECT_TRUE(show(window, 1));
  EXPECT_TRUE(becomesActive(window));
}

TEST_F(DesktopHostWindowsTest, MinimiseAndRestore) {
  if (!traits.supports("_NET_WM_STATE_HIDDEN")) {
    GTEST_SKIP() << traits.windowManager << " does not minimise windows (no _NET_WM_STATE_HIDDEN)";
  }
  GtkWindow* window = openWindow("Host window", 400, 300);
  ASSERT_TRUE(testing::waitUntil([&] { return listed("Host window"); }));
  for (const std::int64_t minimise : {2, 6}) {
    EXPECT_TRUE(show(window, minimise));
    EXPECT_TRUE(testing::waitUntil([&] { return iconified(window) && !listed("Host window"); })) << minimise;
    EXPECT_TRUE(show(window, 9));
    EXPECT_TRUE(testing::waitUntil([&] { return !iconified(window) && listed("Host window"); }));
  }
}

// On each monitor in turn (two on a desktop of two outputs), the screen
// metrics and maximising follow the monitor of the key window: the windows on
// the monitors before stay, so the key window is not the host's first one.
TEST_F(DesktopHostWindowsTest, ScreenMetricsAndMaximiseFollowTheKeyWindowsMonitor) {
  GdkDisplay* display = gdk_display_get_default();
  for (int index = 0; index < traits.monitors; ++index) {
    SCOPED_TRACE("monitor " + std::to_string(index) + " of " + std::to_string(traits.monitors));
    GdkRectangle monitor{};
    gdk_monitor_get_geometry(gdk_display_get_monitor(display, index), &monitor);
    const std::string title = "Window on monitor " + std::to_string(index);
    GtkWindow* window = openWindow(title.c_str(), 400, 300, {{monitor.x + 50, monitor.y + 50}});
    ASSERT_TRUE(testing::waitUntil([&] { return listed(title); }));
    gtk_window_present_with_time(window, gdk_x11_get_server_time(gtk_widget_get_window(GTK_WIDGET(window))));
    if (traits.monitors > 1 && !becomesActive(window)) {
      GTEST_SKIP() << traits.windowManager << " gives no window the keyboard";
    }
    if (gdk_display_get_monitor_at_window(display, gtk_widget_get_window(GTK_WIDGET(window))) !=
        gdk_display_get_monitor(display, index)) {
      GTEST_SKIP() << traits.windowManager << " placed the window on another monitor than asked";
    }

    EXPECT_EQ(ApplicationWindow::getScreenBounds(desktop.services), (ScreenDimensions{monitor.width, monitor.height}));
    EXPECT_EQ(ApplicationWindow::getScreenWorkingAreaDimensions(desktop.services), workAreaOf(monitor));

    EXPECT_TRUE(show(window, 3));
    GdkRectangle outer{};
    // GDK rounds the window manager's device pixels up to whole points.
    EXPECT_TRUE(testing::waitUntil([&] {
      gdk_window_get_frame_extents(gtk_widget_get_window(GTK_WIDGET(window)), &outer);
      return std::abs(outer.width - monitor.width) <= 1 && std::abs(outer.height - monitor.height) <= 1;
    })) << outer.width << "x" << outer.height << " for " << monitor.width << "x" << monitor.height;
  }
}

// While no window of the host has the keyboard (another application's has it,
// or none has, as under a compositor without a keyboard), the host's window on
// the screen still tells which monitor counts.
TEST_F(DesktopHostWindowsTest, WithTheKeyboardElsewhereTheHostsWindowTellsTheMonitor) {
  GdkRectangle last{};
  gdk_monitor_get_geometry(gdk_display_get_monitor(gdk_display_get_default(), traits.monitors - 1), &last);
  GtkWindow* window = openWindow("Host window", 400, 300, {{last.x + 50, last.y + 50}});
  ASSERT_TRUE(testing::waitUntil([&] { return listed("Host window"); }));
  testing::XClient other({"Other application", "300x200+60+60"});
  const auto otherHasTheKeyboard = [&] {
    g_spawn_command_line_sync("xdotool search --name '^Other application$' windowactivate", nullptr, nullptr,
                              nullptr, nullptr);
    return gtk_window_is_active(window) == FALSE && !gtk_window_has_toplevel_focus(window);
  };
  if (!testing::waitUntil(otherHasTheKeyboard)) {
    GTEST_SKIP() << traits.windowManager << " did not give the keyboard to another application's window";
  }
  EXPECT_EQ(ApplicationWindow::getScreenBounds(desktop.services), (ScreenDimensions{last.width, last.height}));
}

}  // namespace
}  // namespace quillon
