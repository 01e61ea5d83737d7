#include "platform/linux/desktop/gtk_desktop.h"

#include <gdk/gdkx.h>

namespace quillon {

bool gtkDesktopAvailable() {
  // The window services speak X11 (window ids, server time, the window list);
  // under a Wayland session GTK goes through XWayland for them.
  static const bool initialised = [] {
    gdk_set_allowed_backends("x11");
    return gtk_init_check(nullptr, nullptr) != FALSE;
  }();
  GdkDisplay* display = gdk_display_get_default();
  return initialised && display != nullptr && GDK_IS_X11_DISPLAY(display);
}

double desktopHeight() {
  GdkWindow* root = gdk_screen_get_root_window(gdk_screen_get_default());
  return static_cast<double>(gdk_window_get_height(root));
}

std::optional<int> gtkWindowScale() {
  if (!gtkDesktopAvailable()) return std::nullopt;
  return gdk_window_get_scale_factor(gdk_get_default_root_window());
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
