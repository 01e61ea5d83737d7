#include "embedding/method_channel.h"

#include <memory>

#include "channel/standard_codec.h"

namespace quillon {

MethodChannel::MethodChannel(BinaryMessenger& messenger, std::string name)
    : messenger_(messenger), name_(std::move(name)) {}

void MethodChannel::setMethodCallHandler(MethodCallHandler handler) {
  if (!handler) return messenger_.setMessageHandler(name_, nullptr);
  messenger_.setMessageHandler(name_, [handler = std::move(handler)](std::span<const std::uint8_t> message,
                                                                    BinaryReply reply) {
    std::string error;
    const auto call = StandardCodec::decodeMethodCall(message, &error);
    if (!call) {
      return std::move(reply)(
          StandardCodec::encodeReply(ChannelReply::error("BAD_MESSAGE", "The message is not a method call: " + error)));
    }
    // ReplyCallback answers once; the shared holder only makes its sink copyable.
    auto binaryReply = std::make_shared<BinaryReply>(std::move(reply));
    handler(*call, ReplyCallback([binaryReply](ChannelReply answer) {
              std::move(*binaryReply)(StandardCodec::encodeReply(answer));
            }));
  });
}

void MethodChannel::invokeMethod(const std::string& method, ChannelValue arguments) {
  messenger_.send(name_, StandardCodec::encodeMethodCall(MethodCall{method, std::move(arguments)}));
}

}  // namespace quillon
