// The standard method codec, byte for byte as Flutter's StandardMethodCodec.
//
// Encoding never fails. Decoding refuses every malformed input with a message
// that says what was wrong and never reads outside the given bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "channel/channel_reply.h"
#include "channel/channel_value.h"
#include "channel/method_call.h"

namespace quillon {

class StandardCodec {
 public:
  static std::vector<std::uint8_t> encodeValue(const ChannelValue& value);
  static std::optional<ChannelValue> decodeValue(std::span<const std::uint8_t> bytes, std::string* error);

  // A method call: the method name as a string value, then the arguments value.
  static std::vector<std::uint8_t> encodeMethodCall(const MethodCall& call);
  static std::optional<MethodCall> decodeMethodCall(std::span<const std::uint8_t> bytes, std::string* error);

  // A reply envelope; not-implemented is the empty envelope.
  static std::vector<std::uint8_t> encodeReply(const ChannelReply& reply);
  static std::optional<ChannelReply> decodeReply(std::span<const std::uint8_t> bytes, std::string* error);
};

}  // namespace quillon
