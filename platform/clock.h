// Clock: the current instant, read by the expiry check whenever a certificate's
// end of validity cannot be read.
#pragma once

#include <chrono>

namespace quillon {

// To the microsecond, which spans every four-digit year: certificates that never
// expire end in 9999 and dates from the interface run from 0000, where the
// system clock's nanoseconds would overflow past 2262.
using Instant = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

class Clock {
 public:
  virtual ~Clock() = default;
  virtual Instant now() const = 0;
};

}  // namespace quillon
