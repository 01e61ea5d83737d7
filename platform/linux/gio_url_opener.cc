#include "platform/linux/gio_url_opener.h"

#include <gio/gio.h>

#include <memory>

namespace quillon {

bool GioUrlOpener::canOpen(const std::string& url) const {
  const std::unique_ptr<char, decltype(&g_free)> scheme(g_uri_parse_scheme(url.c_str()), g_free);
  if (!scheme) return false;
  const std::unique_ptr<GAppInfo, decltype(&g_object_unref)> handler(
      g_app_info_get_default_for_uri_scheme(scheme.get()), g_object_unref);
  return handler != nullptr;
}

std::optional<std::string> GioUrlOpener::open(const std::string& url) {
  GError* error = nullptr;
  if (g_app_info_launch_default_for_uri(url.c_str(), nullptr, &error)) return std::nullopt;
  const std::unique_ptr<GError, decltype(&g_error_free)> owned(error, g_error_free);
  return owned ? std::string(owned->message) : std::string("no application opens " + url);
}

}  // namespace quillon
