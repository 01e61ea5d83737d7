// What the desktop tests share: a display that must be there, what the desktop
// offers (read from the desktop itself, never from its name), the real Linux
// desktop wired as the window services, waiting on the GLib main loop with a
// deadline, and X clients run as child processes that are always reaped.
#pragma once

#include <gtest/gtest.h>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/glib_main_queue.h"
#include "platform/linux/gtk_alert_window.h"
#include "platform/linux/gtk_desktop.h"
#include "platform/linux/gtk_host_windows.h"
#include "platform/linux/gtk_screens.h"
#include "platform/linux/pango_text_measurer.h"
#include "platform/linux/x11_window_list.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/child_process.h"
#include "window/window_services.h"

namespace quillon::testing {

// The GLib queue, counting the delayed jobs (automatic closes) that have run.
class CountingMainQueue final : public MainQueue {
 public:
  void post(Job job) override { queue_.post(std::move(job)); }
  void postAfter(std::chrono::seconds delay, Job job) override {
    queue_.postAfter(delay, [this, job = std::move(job)] {
      job();
      ++delayedRun;
    });
  }
  int delayedRun = 0;

 private:
  GlibMainQueue queue_;
};

struct LinuxDesktop {
  X11WindowList windowList;
  GtkHostWindows hostWindows;
  GtkScreens screens;
  PangoTextMeasurer textMeasurer;
  GtkAlertWindowFactory alertWindows;
  CountingMainQueue mainQueue;
  CapturingDiagnostics diagnostics;
  WindowServices services{windowList, hostWindows, screens, textMeasurer, alertWindows, mainQueue, diagnostics};
};

// Runs the GLib main loop until `condition` holds or `timeout` has passed;
// answers whether it holds.
inline bool waitUntil(const std::function<bool()>& condition,
                      std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

// A property of `window` as the X server holds it: format 32 as longs (Xlib's
// way), format 8 as chars; nothing for a window gone meanwhile.
template <typename Item>
std::vector<Item> property(Window window, const char* name) {
  Display* display = gdk_x11_get_default_xdisplay();
  Atom type = 0;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  gdk_x11_display_error_trap_push(gdk_display_get_default());
  XGetWindowProperty(display, window, XInternAtom(display, name, False), 0, 1024, False, AnyPropertyType, &type,
                     &format, &count, &after, &data);
  gdk_x11_display_error_trap_pop_ignored(gdk_display_get_default());
  if (data == nullptr) return {};
  const auto* items = reinterpret_cast<const Item*>(data);
  std::vector<Item> values(items, items + (format == (sizeof(Item) == 1 ? 8 : 32) ? count : 0));
  XFree(data);
  return values;
}

inline std::vector<std::string> atomNames(const std::vector<long>& atoms) {
  std::vector<std::string> names;
  for (const long atom : atoms) {
    names.emplace_back(gdk_x11_get_xatom_name_for_display(gdk_display_get_default(), static_cast<Atom>(atom)));
  }
  return names;
}

inline bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// The client window with this exact name, found by xdotool (independently of
// the list under test); 0 when there is none.
inline Window clientNamed(const std::string& name) {
  g_autofree gchar* output = nullptr;
  const std::string command = "xdotool search --name '^" + name + "$'";
  if (!g_spawn_command_line_sync(command.c_str(), &output, nullptr, nullptr, nullptr) || output == nullptr) return 0;
  return std::strtoul(output, nullptr, 10);
}

// What the desktop under test offers, as the X server and its window manager
// say: the monitors, the device pixels per point, the window manager's name
// (of its _NET_SUPPORTING_WM_CHECK window) and the hints it supports.
struct DesktopTraits {
  int monitors = 0;
  int scale = 1;
  std::string windowManager;
  std::vector<std::string> supported;

  bool supports(const std::string& hint) const { return contains(supported, hint); }
};

inline DesktopTraits desktopTraits() {
  const Window root = gdk_x11_get_default_root_xwindow();
  const auto check = property<long>(root, "_NET_SUPPORTING_WM_CHECK");
  const auto name = check.empty() ? std::vector<char>{} : property<char>(static_cast<Window>(check[0]), "_NET_WM_NAME");
  return {gdk_display_get_n_monitors(gdk_display_get_default()),
          gdk_window_get_scale_factor(gdk_get_default_root_window()), std::string(name.begin(), name.end()),
          atomNames(property<long>(root, "_NET_SUPPORTED"))};
}

// The root's child that holds `window` (its frame, or itself), and that
// child's rectangle in points: what the window list must report for it.
inline std::optional<WindowBounds> topLevelBounds(Window window, int scale) {
  Display* display = gdk_x11_get_default_xdisplay();
  gdk_x11_display_error_trap_push(gdk_display_get_default());
  Window root = 0, parent = 0, *children = nullptr;
  unsigned count = 0;
  while (XQueryTree(display, window, &root, &parent, &children, &count) != 0) {
    if (children != nullptr) XFree(children);
    if (parent == root) break;
    window = parent;
  }
  int x = 0, y = 0;
  unsigned width = 0, height = 0, border = 0, depth = 0;
  const bool known = parent == root && XGetGeometry(display, window, &root, &x, &y, &width, &height, &border, &depth);
  gdk_x11_display_error_trap_pop_ignored(gdk_display_get_default());
  if (!known) return std::nullopt;
  // The list reads the origin inside the border, as XTranslateCoordinates does.
  const double points = scale;
  return WindowBounds{(x + static_cast<double>(border)) / points, (y + static_cast<double>(border)) / points,
                      width / points, height / points};
}

inline bool sameBounds(const WindowBounds& a, const WindowBounds& b) {
  return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

// The alerts of this process that are on the screen.
inline std::vector<GtkWindow*> visibleAlerts() {
  std::vector<GtkWindow*> alerts;
  g_autoptr(GList) toplevels = gtk_window_list_toplevels();
  for (GList* item = toplevels; item != nullptr; item = item->next) {
    GtkWindow* window = GTK_WINDOW(item->data);
    if (g_strcmp0(gtk_window_get_title(window), "QUILLON Remote App") == 0 && gtk_widget_get_mapped(GTK_WIDGET(window))) {
      alerts.push_back(window);
    }
  }
  return alerts;
}

inline Window numberOf(GtkWindow* window) { return gdk_x11_window_get_xid(gtk_widget_get_window(GTK_WIDGET(window))); }

// The x11_test_client's windows, as its arguments describe them; ended and
// reaped with the object.
struct XClient : ChildProcess {
  explicit XClient(const std::vector<std::string>& windows)
      : ChildProcess(X11_TEST_CLIENT, windows, {}, "/dev/null", "/dev/null") {}
};

// Fails the test unless there is an X display with GTK on it.
class DesktopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("DISPLAY"), nullptr) << "these tests need an X display (run them under scripts/with-desktop)";
    ASSERT_TRUE(gtkDesktopAvailable()) << "GTK could not open the display";
    traits = desktopTraits();
  }

  // Lets GTK process what is pending, then drops the test's windows.
  void TearDown() override {
    for (GtkWidget* window : windows_) gtk_widget_destroy(window);
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
  }

  // Shows a window, at `x`, `y` (points, its frame's top-left) when given.
  GtkWindow* openWindow(const char* title, int width, int height, std::optional<std::pair<int, int>> at = {}) {
    GtkWindow* window = GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL));
    gtk_window_set_title(window, title);
    gtk_window_set_default_size(window, width, height);
    if (at) gtk_window_move(window, at->first, at->second);
    gtk_widget_show_all(GTK_WIDGET(window));
    windows_.push_back(GTK_WIDGET(window));
    return window;
  }

  // Whether the window manager gives `window` the keyboard. (A headless
  // Wayland compositor has no keyboard to give.)
  static bool becomesActive(GtkWindow* window) {
    return waitUntil([&] { return gtk_window_is_active(window) != FALSE; });
  }

  LinuxDesktop desktop;
  DesktopTraits traits;

 private:
  std::vector<GtkWidget*> windows_;
};

}  // namespace quillon::testing
