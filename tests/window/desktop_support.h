// What the desktop tests share: a display that must be there, the real Linux
// desktop wired as the window services, waiting on the GLib main loop with a
// deadline, and X clients run as child processes that are always reaped.
#pragma once

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
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

// Fails the test unless there is an X display with GTK on it.
class DesktopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("DISPLAY"), nullptr) << "these tests need an X display (run them under scripts/with-desktop)";
    ASSERT_TRUE(gtkDesktopAvailable()) << "GTK could not open the display";
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

  LinuxDesktop desktop;

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
