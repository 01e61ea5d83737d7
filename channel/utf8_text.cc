#include "channel/utf8_text.h"

#include <glib.h>

#include <utility>

namespace quillon {
namespace {

// GLib's validator and repairer refuse U+0000, so the bytes are taken between
// their NUL characters.
template <typename Segment>
void forEachSegment(std::string_view bytes, Segment segment) {
  for (;;) {
    const std::size_t nul = bytes.find('\0');
    segment(bytes.substr(0, nul));
    if (nul == std::string_view::npos) return;
    bytes.remove_prefix(nul + 1);
  }
}

}  // namespace

bool isUtf8Text(std::string_view bytes) {
  bool valid = true;
  forEachSegment(bytes, [&valid](std::string_view segment) {
    valid = valid && g_utf8_validate_len(segment.data(), segment.size(), nullptr);
  });
  return valid;
}

std::string toUtf8Text(std::string_view bytes) {
  if (isUtf8Text(bytes)) return std::string(bytes);
  std::string text;
  bool first = true;
  forEachSegment(bytes, [&](std::string_view segment) {
    if (!std::exchange(first, false)) text.push_back('\0');
    g_autofree gchar* repaired = g_utf8_make_valid(segment.data(), static_cast<gssize>(segment.size()));
    text += repaired;
  });
  return text;
}

}  // namespace quillon
