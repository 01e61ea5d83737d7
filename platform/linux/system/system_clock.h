#pragma once

#include "platform/clock.h"

namespace quillon {

// The wall clock, as std::chrono::system_clock reads it.
class SystemClock final : public Clock {
 public:
  Instant now() const override {
    return std::chrono::time_point_cast<Instant::duration>(std::chrono::system_clock::now());
  }
};

}  // namespace quillon
