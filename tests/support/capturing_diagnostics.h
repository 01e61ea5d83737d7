// Diagnostics that keep every printed line for the test to read.
#pragma once

#include <string>
#include <vector>

#include "platform/diagnostics.h"

namespace quillon::testing {

class CapturingDiagnostics final : public Diagnostics {
 public:
  void printLine(std::string_view line) override { lines.emplace_back(line); }

  std::vector<std::string> lines;
};

}  // namespace quillon::testing
