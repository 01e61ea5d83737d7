#include "platform/linux/shell/gtk_program_class.h"

#include <gdk/gdk.h>

namespace quillon {

void setProgramClass(const char* programName, const char* windowClass) {
  g_set_prgname(programName);
  gdk_set_program_class(windowClass);
}

}  // namespace quillon
