// Writes each diagnostic as a single line on standard output, flushed at once so
// that the lines keep their order with the child tools' output. The lines of
// all services together are one source of the output's rate limit
// (base/printed_lines.h): a few a second at length, the rest counted. Any
// thread may print.
#pragma once

#include "platform/diagnostics.h"

namespace quillon {

class StdoutDiagnostics final : public Diagnostics {
 public:
  void printLine(std::string_view line) override;
};

}  // namespace quillon
