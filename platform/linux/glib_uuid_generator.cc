#include "platform/linux/glib_uuid_generator.h"

#include <glib.h>

#include <memory>

namespace quillon {

std::string GlibUuidGenerator::newUuid() {
  const std::unique_ptr<gchar, decltype(&g_free)> lower(g_uuid_string_random(), &g_free);
  const std::unique_ptr<gchar, decltype(&g_free)> upper(g_ascii_strup(lower.get(), -1), &g_free);
  return upper.get();
}

}  // namespace quillon
