// showWindow on the host's own GTK windows, and the screen metrics, on the X display.
// gtest first: Xlib's None macro would break it.
#include "tests/window/desktop_support.h"
#include "window/application_window.h"

#include <X11/Xatom.h>
#include <gdk/gdkx.h>
#include <unistd.h>

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

class DesktopHostWindowsTest : public testing::DesktopTest {
 protected:
  bool show(GtkWindow* window, std::int64_t command) {
    return ApplicationWindow::showWindow(desktop.services, numberOf(window), command);
  }
};

TEST_F(DesktopHostWindowsTest, HideShowMinimiseRestoreAndMaximise) {
  GtkWindow* window = openWindow("Host window", 400, 300);
  ASSERT_TRUE(testing::waitUntil([&] { return listedOnScreen(desktop.windowList, "Host window"); }));

  EXPECT_TRUE(show(window, 0));
  EXPECT_TRUE(testing::waitUntil([&] { return !listedOnScreen(desktop.windowList, "Host window"); }));

  EXPECT_TRUE(show(window, 1));
  EXPECT_TRUE(testing::waitUntil(
      [&] { return listedOnScreen(desktop.windowList, "Host window") && gtk_window_is_active(window); }));

  for (const std::int64_t minimise : {2, 6}) {
    EXPECT_TRUE(show(window, minimise));
    EXPECT_TRUE(testing::waitUntil(
        [&] { return iconified(window) && !listedOnScreen(desktop.windowList, "Host window"); }))
        << minimise;
    EXPECT_TRUE(show(window, 9));
    EXPECT_TRUE(testing::waitUntil(
        [&] { return !iconified(window) && listedOnScreen(desktop.windowList, "Host window"); }));
  }

  // Codes that do not act leave the window as it is.
  for (const std::int64_t idle : {4, 5, 7, 8, 10, 11, 12, -1}) EXPECT_FALSE(show(window, idle)) << idle;
  EXPECT_FALSE(iconified(window));

  const auto screen = desktop.screens.mainScreen();
  ASSERT_TRUE(screen);
  EXPECT_TRUE(show(window, 3));
  GdkRectangle outer{};
  EXPECT_TRUE(testing::waitUntil([&] {
    gdk_window_get_frame_extents(gtk_widget_get_window(GTK_WIDGET(window)), &outer);
    return outer.width == static_cast<int>(screen->frame.width) && outer.height == static_cast<int>(screen->frame.height);
  })) << outer.width << "x" << outer.height;
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

// The X screen's size and the window manager's _NET_WORKAREA, read directly.
TEST_F(DesktopHostWindowsTest, ScreenMetricsMatchTheXScreenAndTheWorkArea) {
  Display* display = gdk_x11_get_default_xdisplay();
  const ScreenDimensions xScreen{DisplayWidth(display, DefaultScreen(display)),
                                 DisplayHeight(display, DefaultScreen(display))};
  EXPECT_EQ(ApplicationWindow::getScreenBounds(desktop.services), xScreen);

  Atom type = 0;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  ASSERT_EQ(XGetWindowProperty(display, gdk_x11_get_default_root_xwindow(),
                               XInternAtom(display, "_NET_WORKAREA", False), 0, 4, False, XA_CARDINAL, &type, &format,
                               &count, &after, &data),
            Success);
  ASSERT_NE(data, nullptr);
  ASSERT_EQ(count, 4U);
  const long* workArea = reinterpret_cast<const long*>(data);
  const ScreenDimensions expected{workArea[2], workArea[3]};
  XFree(data);
  EXPECT_EQ(ApplicationWindow::getScreenWorkingAreaDimensions(desktop.services), expected);
}

}  // namespace
}  // namespace quillon
