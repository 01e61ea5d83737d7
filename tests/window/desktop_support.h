// What the desktop tests share: a display that must be there, what the desktop
// offers (read from the desktop itself, never from its name), the real Linux
// desktop wired as the window services, waiting on the GLib main loop with a
// deadline, and X clients run as child processes that are always reaped.
#pragma once

#include <gtest/gtest.h>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <algorithm>
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

#include <X11/Xatom.h>
#include "tests/support/capturing_diagnostics.h"
#include "window/window_services.h"

extern char** environ;

namespace quillon::testing {

struct LinuxDesktop {
  X11WindowList windowList;
  GtkHostWindows hostWindows;
  GtkScreens screens;
  PangoTextMeasurer textMeasurer;
  GtkAlertWindowFactory alertWindows;
  GlibMainQueue mainQueue;
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

// The output of a command line, as the desktop's tools print it.
inline std::string toolOutput(const std::string& command) {
  gchar* output = nullptr;
  if (!g_spawn_command_line_sync(command.c_str(), &output, nullptr, nullptr, nullptr) || output == nullptr) return "";
  std::string text(output);
  g_free(output);
  return text;
}

// What the desktop under test offers, as the X server and its window manager
// say: the monitors, the device pixels per point, the window manager's name
// (_NET_WM_NAME of its _NET_SUPPORTING_WM_CHECK window) and the hints it
// supports (_NET_SUPPORTED).
struct DesktopTraits {
  int monitors = 0;
  int scale = 1;
  std::string windowManager;
  std::vector<std::string> supported;

  bool supports(const std::string& hint) const {
    return std::find(supported.begin(), supported.end(), hint) != supported.end();
  }
};

// A root-window property of format 32 as the X server holds it.
inline std::vector<unsigned long> rootItems(const char* name, Atom type) {
  Display* display = gdk_x11_get_default_xdisplay();
  Atom actualType = 0;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(display, gdk_x11_get_default_root_xwindow(), XInternAtom(display, name, False), 0, 1024,
                         False, type, &actualType, &format, &count, &after, &data) != Success || data == nullptr) {
    return {};
  }
  const auto* items = reinterpret_cast<const unsigned long*>(data);
  std::vector<unsigned long> values(items, items + (format == 32 ? count : 0));
  XFree(data);
  return values;
}

inline DesktopTraits desktopTraits() {
  DesktopTraits traits;
  GdkDisplay* display = gdk_display_get_default();
  traits.monitors = gdk_display_get_n_monitors(display);
  traits.scale = gdk_window_get_scale_factor(gdk_get_default_root_window());
  Display* xdisplay = gdk_x11_get_default_xdisplay();
  for (const unsigned long atom : rootItems("_NET_SUPPORTED", XA_ATOM)) {
    char* name = XGetAtomName(xdisplay, atom);
    traits.supported.emplace_back(name);
    XFree(name);
  }
  const std::vector<unsigned long> check = rootItems("_NET_SUPPORTING_WM_CHECK", XA_WINDOW);
  gchar* name = nullptr;
  if (!check.empty()) {
    gdk_x11_display_error_trap_push(display);
    Atom type = 0;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(xdisplay, check.front(), XInternAtom(xdisplay, "_NET_WM_NAME", False), 0, 256, False,
                           XInternAtom(xdisplay, "UTF8_STRING", False), &type, &format, &count, &after,
                           &data) == Success && data != nullptr) {
      name = g_strndup(reinterpret_cast<const char*>(data), count);
      XFree(data);
    }
    gdk_x11_display_error_trap_pop_ignored(display);
  }
  traits.windowManager = name != nullptr ? name : "";
  g_free(name);
  return traits;
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

  GtkWindow* openWindow(const char* title, int width, int height) {
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), title);
    gtk_window_set_default_size(GTK_WINDOW(window), width, height);
    gtk_widget_show_all(window);
    windows_.push_back(window);
    return GTK_WINDOW(window);
  }

  // Shows a window at `x`, `y` (points, its frame's top-left) and waits until
  // the window manager has framed it there or wherever it puts windows.
  GtkWindow* openWindowAt(const char* title, int x, int y, int width, int height) {
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), title);
    gtk_window_set_default_size(GTK_WINDOW(window), width, height);
    gtk_window_move(GTK_WINDOW(window), x, y);
    gtk_widget_show_all(window);
    windows_.push_back(window);
    return GTK_WINDOW(window);
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

// A child process that is terminated and reaped when the object goes.
class SpawnedProgram {
 public:
  explicit SpawnedProgram(std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    if (posix_spawn(&pid_, argv[0], nullptr, nullptr, argv.data(), environ) != 0) pid_ = -1;
  }
  ~SpawnedProgram() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
  }
  SpawnedProgram(const SpawnedProgram&) = delete;
  SpawnedProgram& operator=(const SpawnedProgram&) = delete;

  pid_t pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
};

}  // namespace quillon::testing
