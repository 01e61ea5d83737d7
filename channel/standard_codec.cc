// Placeholder until the codec lands: every decode is refused, every encode is empty.
#include "channel/standard_codec.h"

namespace quillon {

std::vector<std::uint8_t> StandardCodec::encodeValue(const ChannelValue&) { return {}; }
std::optional<ChannelValue> StandardCodec::decodeValue(std::span<const std::uint8_t>, std::string* error) {
  *error = "codec not built yet";
  return std::nullopt;
}
std::vector<std::uint8_t> StandardCodec::encodeMethodCall(const MethodCall&) { return {}; }
std::optional<MethodCall> StandardCodec::decodeMethodCall(std::span<const std::uint8_t>, std::string* error) {
  *error = "codec not built yet";
  return std::nullopt;
}
std::vector<std::uint8_t> StandardCodec::encodeReply(const ChannelReply&) { return {}; }
std::optional<ChannelReply> StandardCodec::decodeReply(std::span<const std::uint8_t>, std::string* error) {
  *error = "codec not built yet";
  return std::nullopt;
}

}  // namespace quillon
