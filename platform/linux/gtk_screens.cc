#include "platform/linux/gtk_screens.h"

#include "platform/linux/gtk_desktop.h"

namespace quillon {

namespace {

GdkMonitor* mainMonitor(GdkDisplay* display) {
  if (GtkWindow* key = activeHostWindow()) {
    if (GdkWindow* window = gtk_widget_get_window(GTK_WIDGET(key))) {
      if (GdkMonitor* monitor = gdk_display_get_monitor_at_window(display, window)) return monitor;
    }
  }
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
