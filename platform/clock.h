// Clock: the current instant, read by the expiry check whenever a certificate's
// end of validity cannot be read.
#pragma once

#include <chrono>

namespace quillon {

using Instant = std::chrono::system_clock::time_point;

class Clock {
 public:
  virtual ~Clock() = default;
  virtual Instant now() const = 0;
};

}  // namespace quillon
