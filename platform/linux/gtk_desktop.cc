#include "platform/linux/gtk_desktop.h"

#include <memory>

namespace quillon {

bool gtkDesktopAvailable() {
  static const bool initialised = gtk_init_check(nullptr, nullptr) != FALSE;
  return initialised && gdk_display_get_default() != nullptr;
}

double desktopHeight() {
  GdkWindow* root = gdk_screen_get_root_window(gdk_screen_get_default());
  return static_cast<double>(gdk_window_get_height(root));
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
