#include "platform/linux/system/small_file.h"

#include <glib.h>

namespace quillon {

// Through GLib, which reports a failed read as an error: libstdc++'s stream
// buffers throw it out of istreambuf_iterator instead, and a /proc file whose
// process ends between the open and the read fails its read (ESRCH).
std::optional<std::string> readSmallFile(const std::string& path) {
  g_autofree gchar* contents = nullptr;
  gsize length = 0;
  if (!g_file_get_contents(path.c_str(), &contents, &length, nullptr)) return std::nullopt;
  return std::string(contents, length);
}

std::string withoutFinalLineFeed(std::string text) {
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace quillon
