// Writes each diagnostic as a single line on standard output, flushed at once so
// that the lines keep their order with the child tools' output.
#pragma once

#include "platform/diagnostics.h"

namespace quillon {

class StdoutDiagnostics final : public Diagnostics {
 public:
  void printLine(std::string_view line) override;
};

}  // namespace quillon
