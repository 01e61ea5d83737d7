#include "platform/linux/shell/gio_url_opener.h"

#include <gio/gio.h>

namespace quillon {

bool GioUrlOpener::canOpen(const std::string& url) const {
  g_autofree gchar* scheme = g_uri_parse_scheme(url.c_str());
  if (scheme == nullptr) return false;
  g_autoptr(GAppInfo) handler = g_app_info_get_default_for_uri_scheme(scheme);
  return handler != nullptr;
}

Expected<void> GioUrlOpener::open(const std::string& url) {
  g_autoptr(GError) error = nullptr;
  if (g_app_info_launch_default_for_uri(url.c_str(), nullptr, &error)) return {};
  return Failure{error != nullptr ? std::string(error->message) : "no application opens " + url};
}

}  // namespace quillon
