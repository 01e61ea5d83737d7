#include "platform/linux/gtk_desktop.h"

#include <gdk/gdkx.h>

#include <memory>

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
  std::unique_ptr<GList, decltype(&g_list_free)> toplevels(gtk_window_list_toplevels(), &g_list_free);
  for (GList* item = toplevels.get(); item != nullptr; item = item->next) {
    GtkWindow* window = GTK_WINDOW(item->data);
    if (gtk_window_is_active(window)) return window;
  }
  return nullptr;
}

std::string systemFontFamily() {
  static constexpr const char* kFallback = "Sans";
  GtkSettings* settings = gtkDesktopAvailable() ? gtk_settings_get_default() : nullptr;
  if (settings == nullptr) return kFallback;
  gchar* fontName = nullptr;
  g_object_get(settings, "gtk-font-name", &fontName, nullptr);
  std::unique_ptr<PangoFontDescription, decltype(&pango_font_description_free)> description(
      pango_font_description_from_string(fontName != nullptr ? fontName : kFallback), &pango_font_description_free);
  g_free(fontName);
  const char* family = pango_font_description_get_family(description.get());
  return family != nullptr ? family : kFallback;
}

}  // namespace quillon
