#include "platform/linux/system/stdout_diagnostics.h"

#include "base/printed_lines.h"

namespace quillon {

void StdoutDiagnostics::printLine(std::string_view line) {
  // A tool that keeps failing, at the interface's request, fails as often as it is asked.
  standardOutputLines().print("service diagnostics", line);
}

}  // namespace quillon
