// showWindow on the host's own GTK windows, and the screen metrics, on the X
// display: on each of its monitors, at its scale.
// gtest first: Xlib's None macro would break it.
#include "tests/window/desktop_support.h"
#include "window/application_window.h"

#include <X11/Xatom.h>
#include <gdk/gdkx.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace quillon {
namespace {

std::int64_t numberOf(GtkWindow* window) {
  return static_cast<std::int64_t>(gdk_x11_window_get_xid(gtk_widget_get_window(GTK_WIDGET(window))));
}

bool listedOnScreen(WindowList& list, const std::string& name) {
  for (const WindowListEntry& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
    if (entry.ownerProcessId == getpid() && entry.name == name) return true;
  }
  return false;
}

bool iconified(GtkWindow* window) {
  return (gdk_window_get_state(gtk_widget_get_window(GTK_WIDGET(window))) & GDK_WINDOW_STATE_ICONIFIED) != 0;
}

GdkRectangle outerFrame(GtkWindow* window) {
  GdkRectangle outer{};
  gdk_window_get_frame_extents(gtk_widget_get_window(GTK_WIDGET(window)), &outer);
  return outer;
}

class DesktopHostWindowsTest : public testing::DesktopTest {
 protected:
  bool show(GtkWindow* window, std::int64_t command) {
    return ApplicationWindow::showWindow(desktop.services, numberOf(window), command);
  }

  // The monitor's work area as the window manager publishes it
  // (_NET_WORKAREA, device pixels, for the whole screen), cut to the monitor;
  // the whole monitor where the window manager publishes none.
  ScreenDimensions workAreaOf(const GdkRectangle& monitor) const {
    const std::vector<unsigned long> area = testing::rootItems("_NET_WORKAREA", XA_CARDINAL);
    if (area.size() < 4) return ScreenDimensions{monitor.width, monitor.height};
    const auto scaled = [this](unsigned long value) { return static_cast<int>(value) / traits.scale; };
    const int left = std::max(monitor.x, scaled(area[0]));
    const int top = std::max(monitor.y, scaled(area[1]));
    const int right = std::min(monitor.x + monitor.width, scaled(area[0] + area[2]));
    const int bottom = std::min(monitor.y + monitor.height, scaled(area[1] + area[3]));
    return ScreenDimensions{right - left, bottom - top};
  }
};

TEST_F(DesktopHostWindowsTest, HideShowAndCodesThatDoNotAct) {
  GtkWindow* window = openWindow("Host window", 400, 300);
  ASSERT_TRUE(testing::waitUntil([&] { return listedOnScreen(desktop.windowList, "Host window"); }));

  EXPECT_TRUE(show(window, 0));
  EXPECT_TRUE(testing::waitUntil([&] { return !listedOnScreen(desktop.windowList, "Host window"); }));

  EXPECT_TRUE(show(window, 1));
  EXPECT_TRUE(testing::waitUntil(
      [&] { return listedOnScreen(desktop.windowList, "Host window") && !iconified(window); }));

  // Codes that do not act leave the window as it is.
  for (const std::int64_t idle : {4, 5, 7, 8, 10, 11, 12, -1}) EXPECT_FALSE(show(window, idle)) << idle;
  EXPECT_FALSE(iconified(window));
  EXPECT_TRUE(listedOnScreen(desktop.windowList, "Host window"));
  if (!becomesActive(window)) GTEST_SKIP() << traits.windowManager << " gives no window the keyboard";
}

TEST_F(DesktopHostWindowsTest, MinimiseAndRestore) {
  if (!traits.supports("_NET_WM_STATE_HIDDEN")) {
    GTEST_SKIP() << traits.windowManager << " does not minimise windows (no _NET_WM_STATE_HIDDEN)";
  }
  GtkWindow* window = openWindow("Host window", 400, 300);
  ASSERT_TRUE(testing::waitUntil([&] { return listedOnScreen(desktop.windowList, "Host window"); }));
  for (const std::int64_t minimise : {2, 6}) {
    EXPECT_TRUE(show(window, minimise));
    EXPECT_TRUE(testing::waitUntil(
        [&] { return iconified(window) && !listedOnScreen(desktop.windowList, "Host window"); }))
        << minimise;
    EXPECT_TRUE(show(window, 9));
    EXPECT_TRUE(testing::waitUntil(
        [&] { return !iconified(window) && listedOnScreen(desktop.windowList, "Host window"); }));
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
    GtkWindow* window = openWindowAt(title.c_str(), monitor.x + 50, monitor.y + 50, 400, 300);
    ASSERT_TRUE(testing::waitUntil([&] { return listedOnScreen(desktop.windowList, title); }));
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
      outer = outerFrame(window);
      return std::abs(outer.width - monitor.width) <= 1 && std::abs(outer.height - monitor.height) <= 1;
    })) << outer.width << "x" << outer.height << " for " << monitor.width << "x" << monitor.height;
  }
}

// While no window of the host has the keyboard (another application's has it,
// or none has, as under a compositor without a keyboard), the host's window on
// the screen still tells which monitor counts.
TEST_F(DesktopHostWindowsTest, WithTheKeyboardElsewhereTheHostsWindowTellsTheMonitor) {
  GdkDisplay* display = gdk_display_get_default();
  GdkRectangle last{};
  gdk_monitor_get_geometry(gdk_display_get_monitor(display, traits.monitors - 1), &last);
  GtkWindow* window = openWindowAt("Host window", last.x + 50, last.y + 50, 400, 300);
  ASSERT_TRUE(testing::waitUntil([&] { return listedOnScreen(desktop.windowList, "Host window"); }));
  testing::SpawnedProgram other({X11_TEST_CLIENT, "Other application", "300x200+60+60"});
  const auto otherHasTheKeyboard = [&] {
    g_autofree gchar* output = nullptr;
    g_spawn_command_line_sync("xdotool search --name '^Other application$' windowactivate", &output, nullptr,
                              nullptr, nullptr);
    return gtk_window_is_active(window) == FALSE && !gtk_window_has_toplevel_focus(window);
  };
  if (!testing::waitUntil(otherHasTheKeyboard)) {
    GTEST_SKIP() << traits.windowManager << " did not give the keyboard to another application's window";
  }
  EXPECT_EQ(ApplicationWindow::getScreenBounds(desktop.services), (ScreenDimensions{last.width, last.height}));
}

TEST_F(DesktopHostWindowsTest, NumbersOfOtherWindowsAreNotReachable) {
  GtkWindow* window = openWindow("Host window", 200, 100);
  ASSERT_TRUE(testing::waitUntil([&] { return listedOnScreen(desktop.windowList, "Host window"); }));
  const std::int64_t root = static_cast<std::int64_t>(gdk_x11_get_default_root_xwindow());
  for (std::int64_t command = -1; command <= 12; ++command) {
    EXPECT_FALSE(ApplicationWindow::showWindow(desktop.services, root, command));
    EXPECT_FALSE(ApplicationWindow::showWindow(desktop.services, numberOf(window) + 1, command));
  }
  EXPECT_TRUE(listedOnScreen(desktop.windowList, "Host window"));
}

}  // namespace
}  // namespace quillon
