#include "platform/linux/desktop/gtk_screens.h"

#include "platform/linux/desktop/gtk_desktop.h"

namespace quillon {

namespace {

// The host's first top-level window that stands on the screen (mapped, not
// minimised): in GTK's order, the main window before any alert.
GtkWindow* shownHostWindow() {
  g_autoptr(GList) toplevels = gtk_window_list_toplevels();
  for (GList* item = toplevels; item != nullptr; item = item->next) {
    GtkWindow* window = GTK_WINDOW(item->data);
    GdkWindow* surface = gtk_widget_get_window(GTK_WIDGET(window));
    if (gtk_window_get_window_type(window) != GTK_WINDOW_TOPLEVEL || surface == nullptr) continue;
    const bool minimised = (gdk_window_get_state(surface) & GDK_WINDOW_STATE_ICONIFIED) != 0;
    if (gtk_widget_get_mapped(GTK_WIDGET(window)) && !minimised) return window;
  }
  return nullptr;
}

GdkMonitor* monitorOf(GdkDisplay* display, GtkWindow* window) {
  GdkWindow* surface = window != nullptr ? gtk_widget_get_window(GTK_WIDGET(window)) : nullptr;
  return surface != nullptr ? gdk_display_get_monitor_at_window(display, surface) : nullptr;
}

GdkMonitor* mainMonitor(GdkDisplay* display) {
  if (GdkMonitor* monitor = monitorOf(display, activeHostWindow())) return monitor;
  // The keyboard is elsewhere (another application's window is active): the
  // host's own window still tells which screen the interface is on.
  if (GdkMonitor* monitor = monitorOf(display, shownHostWindow())) return monitor;
  if (GdkMonitor* primary = gdk_display_get_primary_monitor(display)) return primary;
  return gdk_display_get_n_monitors(display) > 0 ? gdk_display_get_monitor(display, 0) : nullptr;
}

FrameRect bottomLeftFrame(const GdkRectangle& rect, double desktop) {
  return FrameRect{static_cast<double>(rect.x), desktop - static_cast<double>(rect.y + rect.height),
                   static_cast<double>(rect.width), static_cast<double>(rect.height)};
}

}  // namespace

std::optional<ScreenFrames> GtkScreens::mainScreen() {
  if (!gtkDesktopAvailable()) return std::nullopt;
  GdkMonitor* monitor = mainMonitor(gdk_display_get_default());
  if (monitor == nullptr) return std::nullopt;
  GdkRectangle geometry{};
  GdkRectangle workArea{};
  gdk_monitor_get_geometry(monitor, &geometry);
  gdk_monitor_get_workarea(monitor, &workArea);
  const double desktop = desktopHeight();
  return ScreenFrames{bottomLeftFrame(geometry, desktop), bottomLeftFrame(workArea, desktop)};
}

}  // namespace quillon
