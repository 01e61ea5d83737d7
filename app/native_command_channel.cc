#include "app/native_command_channel.h"

#include "channel/channel_names.h"

namespace quillon {

NativeCommandChannel::NativeCommandChannel(BinaryMessenger& messenger, const CommandServices& services)
    : dispatcher_(commandCatalogue(services)), channel_(messenger, kNativeCommandChannel) {
  channel_.setMethodCallHandler(
      [this](const MethodCall& call, ReplyCallback reply) { dispatcher_.handle(call, std::move(reply)); });
}

NativeCommandChannel::~NativeCommandChannel() { channel_.setMethodCallHandler(nullptr); }

}  // namespace quillon
