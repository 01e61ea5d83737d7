// Diagnostics: where the host's printed lines go. The interface never sees them.
#pragma once

#include <string_view>

namespace quillon {

class Diagnostics {
 public:
  virtual ~Diagnostics() = default;
  // Prints `line` as one line: no level, no time stamp.
  virtual void printLine(std::string_view line) = 0;
};

}  // namespace quillon
