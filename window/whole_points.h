// Geometry travels to the interface as whole points: a double is truncated
// toward zero, after any sums are formed.
#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

namespace quillon {

// `value` truncated toward zero, or nothing when it is not finite or does not
// fit a 64-bit signed integer (the conversion itself would be undefined then).
inline std::optional<std::int64_t> truncateToWholePoints(double value) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  if (!std::isfinite(value) || value >= kLimit || value < -kLimit) return std::nullopt;
  return static_cast<std::int64_t>(value);
}

}  // namespace quillon
