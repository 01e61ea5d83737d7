#include "platform/linux/desktop/gtk_desktop.h"

#include <gdk/gdkx.h>

#include <atomic>

namespace quillon {

namespace {

// GDK's window scale, kept where other threads may read it; 0 for none.
std::atomic<int> windowScaleCopy{0};

void copyWindowScale() { windowScaleCopy = gdk_window_get_scale_factor(gdk_get_default_root_window()); }

// GDK emits it when the window scale changes as well.
void onMonitorsChanged(GdkScreen*, gpointer) { copyWindowScale(); }

}  // namespace

bool gtkDesktopAvailable() {
  // The window services speak X11 (window ids, server time, the window list);
  // under a Wayland session GTK goes through XWayland for them.
  static const bool initialised = [] {
    gdk_set_allowed_backends("x11");
    if (gtk_init_check(nullptr, nullptr) == FALSE) return false;
    if (GdkScreen* screen = gdk_screen_get_default()) {
      copyWindowScale();
      g_signal_connect(screen, "monitors-changed", G_CALLBACK(onMonitorsChanged), nullptr);
    }
    return true;
  }();
  GdkDisplay* display = gdk_display_get_default();
  return initialised && display != nullptr && GDK_IS_X11_DISPLAY(display);
}

double desktopHeight() {
  GdkWindow* root = gdk_screen_get_root_window(gdk_screen_get_default());
  return static_cast<double>(gdk_window_get_height(root));
}

std::optional<int> lastWindowScale() {
  const int scale = windowScaleCopy;
  if (scale < 1) return std::nullopt;
  return scale;
}

GtkWindow* activeHostWindow() {
  g_autoptr(GList) toplevels = gtk_window_list_toplevels();
  for (GList* item = toplevels; item != nullptr; item = item->next) {
    GtkWindow* window = GTK_WINDOW(item->data);
    if (gtk_window_is_active(window)) return window;
  }
  return nullptr;
}

std::string systemFontFamily() {
  static constexpr const char* kFallback = "Sans";
  GtkSettings* settings = gtkDesktopAvailable() ? gtk_settings_get_default() : nullptr;
  if (settings == nullptr) return kFallback;
  g_autofree gchar* fontName = nullptr;
  g_object_get(settings, "gtk-font-name", &fontName, nullptr);
  g_autoptr(PangoFontDescription) description =
      pango_font_description_from_string(fontName != nullptr ? fontName : kFallback);
  const char* family = pango_font_description_get_family(description);
  return family != nullptr ? family : kFallback;
}

}  // namespace quillon
