// The type bytes and size escapes of the standard codec's wire format.
#pragma once

#include <bit>
#include <cstdint>

namespace quillon::codec {

static_assert(std::endian::native == std::endian::little,
              "the wire is little-endian and numbers are copied as they lie in memory");

enum class TypeByte : std::uint8_t {
  kNull = 0,
  kTrue = 1,
  kFalse = 2,
  kInt32 = 3,
  kInt64 = 4,
  // 5 was a large integer written as hexadecimal text; no sender writes it now,
  // so it is refused like any unknown type byte.
  kFloat64 = 6,
  kString = 7,
  kUint8List = 8,
  kInt32List = 9,
  kInt64List = 10,
  kFloat64List = 11,
  kList = 12,
  kMap = 13,
  kFloat32List = 14,
};

// A size below kSize16 is one byte; kSize16 is followed by a u16, kSize32 by a u32.
inline constexpr std::uint8_t kSize16 = 254;
inline constexpr std::uint8_t kSize32 = 255;

// The first byte of a reply envelope.
inline constexpr std::uint8_t kEnvelopeSuccess = 0;
inline constexpr std::uint8_t kEnvelopeError = 1;

}  // namespace quillon::codec
