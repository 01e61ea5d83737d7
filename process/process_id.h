// The ids that can name one process on this system. The interface sends 64-bit
// ids; the kernel's are 32-bit and positive. procps' kill narrows its argument
// to 32 bits, so 2^32 - 1 would become -1 (every process the user may signal)
// and 2^32 the host's own process group; 0 and negative ids are group-wide
// already. An id outside 1 to 2^31 - 1 therefore never reaches a tool or /proc:
// the operation answers as for a process that does not exist.
#pragma once

#include <cstdint>
#include <limits>

namespace quillon {

inline constexpr bool isPossibleProcessId(std::int64_t processId) {
  return processId >= 1 && processId <= std::numeric_limits<std::int32_t>::max();
}

}  // namespace quillon
