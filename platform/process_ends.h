// ProcessEnds: waits for another process to end, as a kill is delivered only
// when its target next runs.
#pragma once

#include <chrono>
#include <cstdint>

namespace quillon {

class ProcessEnds {
 public:
  virtual ~ProcessEnds() = default;
  // Returns once process `processId` has ended (ended, not necessarily reaped
  // by its parent), when there is no such process, or when `limit` has passed.
  virtual void waitForEnd(std::int64_t processId, std::chrono::milliseconds limit) = 0;
};

}  // namespace quillon
