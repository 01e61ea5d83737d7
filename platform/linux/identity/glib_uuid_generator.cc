#include "platform/linux/identity/glib_uuid_generator.h"

#include <glib.h>

namespace quillon {

std::string GlibUuidGenerator::newUuid() {
  g_autofree gchar* lower = g_uuid_string_random();
  g_autofree gchar* upper = g_ascii_strup(lower, -1);
  return upper;
}

}  // namespace quillon
