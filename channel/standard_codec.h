// The standard method codec, byte for byte as Flutter's StandardMethodCodec.
//
// Values: one type byte, then the payload; sizes are one byte below 254, else
// 254 and a u16, or 255 and a u32; numbers are little-endian; doubles and typed
// lists are padded with zero bytes to their element size, counted from the start
// of the message. Integers go out as int32 when they fit, else as int64 (as the
// Dart side does); typed lists are aligned even when empty.
//
// Encoding never fails; a string that is not UTF-8 (a bug of its source) stops
// a debug build and goes out repaired from a release build. Decoding refuses
// every malformed input (truncation, an unknown type byte, a size beyond the
// input, trailing bytes, invalid UTF-8, nesting deeper than kMaxDepth) with a
// message that says what was wrong, and never reads outside the given bytes.
// An empty typed list is accepted both aligned and unaligned: its padding is
// skipped when the padding bytes are there and are all zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/expected.h"
#include "channel/channel_reply.h"
#include "channel/channel_value.h"
#include "channel/method_call.h"

namespace quillon {

class StandardCodec {
 public:
  StandardCodec() = delete;

  // Lists and maps nested deeper than this are refused when decoding.
  static constexpr std::size_t kMaxDepth = 256;

  static std::vector<std::uint8_t> encodeValue(const ChannelValue& value);
  static Expected<ChannelValue> decodeValue(std::span<const std::uint8_t> bytes);

  // A method call: the method name as a string value, then the arguments value.
  static std::vector<std::uint8_t> encodeMethodCall(const MethodCall& call);
  static Expected<MethodCall> decodeMethodCall(std::span<const std::uint8_t> bytes);

  // A reply envelope. Success: byte 0, then the value. Error: byte 1, then the
  // code, the message and the details; a stack-trace string after the details
  // is accepted and ignored, a null message reads as "". Not-implemented is the
  // empty envelope.
  static std::vector<std::uint8_t> encodeReply(const ChannelReply& reply);
  static Expected<ChannelReply> decodeReply(std::span<const std::uint8_t> bytes);
};

}  // namespace quillon
