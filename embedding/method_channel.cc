#include "embedding/method_channel.h"

#include "channel/standard_codec.h"

namespace quillon {

MethodChannel::MethodChannel(BinaryMessenger& messenger, std::string name)
    : messenger_(messenger), name_(std::move(name)) {}

void MethodChannel::setMethodCallHandler(MethodCallHandler handler) {
  if (!handler) return messenger_.setMessageHandler(name_, nullptr);
  messenger_.setMessageHandler(name_, [handler = std::move(handler), &messenger = messenger_, name = name_](
                                          std::span<const std::uint8_t> message, BinaryReply reply) {
    const auto call = StandardCodec::decodeMethodCall(message);
    if (!call.hasValue()) {
      return std::move(reply)(StandardCodec::encodeReply(
          ChannelReply::error("BAD_MESSAGE", "The message is not a method call: " + call.error().reason)));
    }
    LinkObserver::AnswerNote note;
    if (LinkObserver* observer = messenger.observer()) note = observer->callReceived(name, *call);
    CallerKey caller = reply.caller();
    handler(*call, ReplyCallback(
                       [reply = std::move(reply), note = std::move(note)](ChannelReply answer) mutable {
                         if (note) std::move(note)(answer);
                         std::move(reply)(StandardCodec::encodeReply(answer));
                       },
                       std::move(caller)));
  });
}

void MethodChannel::invokeMethod(const std::string& method, ChannelValue arguments) {
  messenger_.send(name_, StandardCodec::encodeMethodCall(MethodCall{method, std::move(arguments)}));
}

}  // namespace quillon
