// The base64 reading of certificates handed in by the interface: the standard
// alphabet with "=" padding, where every character outside the alphabet is
// skipped ("-" and "_" included), so line breaks and blanks do no harm.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace quillon {

// Nothing when an alphabet character follows a "=", when there are more than
// two "=", or when the alphabet characters and the "=" together are not a
// multiple of four (unpadded text fails). Bits left over in the last
// character are dropped.
std::optional<std::vector<std::uint8_t>> decodeBase64SkippingUnknown(std::string_view text);

}  // namespace quillon
