// What the desktop tests, the end-to-end test and the screenshot share: the
// real Linux desktop wired as the window services, waiting on the GLib main
// loop with a deadline, the windows the list shows, the alerts on the screen,
// and X clients run as child processes that are always reaped.
#pragma once

#include <gdk/gdkx.h>
#include <gtk/gtk.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/desktop/gtk_alert_window.h"
#include "platform/linux/desktop/gtk_desktop.h"
#include "platform/linux/desktop/gtk_host_windows.h"
#include "platform/linux/desktop/gtk_screens.h"
#include "platform/linux/desktop/pango_text_measurer.h"
#include "platform/linux/desktop/x11_window_list.h"
#include "platform/linux/system/glib_main_queue.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/child_process.h"
#include "window/window_services.h"

namespace quillon::testing {

// The GLib queue, counting the delayed jobs (automatic closes) that have run.
struct CountingMainQueue final : MainQueue {
  void post(Job job) override { queue.post(std::move(job)); }
  void postAfter(std::chrono::seconds delay, Job job) override {
    queue.postAfter(delay, [this, job = std::move(job)]() mutable { std::move(job)(), ++delayedRun; });
  }
  GlibMainQueue queue;
  int delayedRun = 0;
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

// Serves what the GLib main loop has ready, without waiting.
inline void serveMainLoop() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

// Serves the GLib main loop until `condition` holds or `timeout` has passed;
// answers whether it holds.
inline bool waitUntil(const std::function<bool()>& condition,
                      std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
  return waitUntil([&] { return serveMainLoop(), condition(); }, timeout);
}

// The windows of process `pid` the list shows (those named `name`, when given), front-most first.
inline std::vector<WindowListEntry> windowsOf(WindowList& list, std::int64_t pid,
                                              std::optional<std::string> name = std::nullopt) {
  std::vector<WindowListEntry> found;
  for (const WindowListEntry& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
    if (entry.ownerProcessId == pid && (!name || entry.name == name)) found.push_back(entry);
  }
  return found;
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

// The x11_test_client's windows, as its arguments describe them; ended and
// reaped with the object.
struct XClient : ChildProcess {
  explicit XClient(const std::vector<std::string>& windows)
      : ChildProcess(X11_TEST_CLIENT, windows, {}, "/dev/null", "/dev/null") {}
};

}  // namespace quillon::testing
