#include "app/instance_channel.h"

#include <string>

#include "commands/argument_limits.h"
#include "commands/command_arguments.h"

namespace quillon {
namespace {

void answerInstanceCall(Application& application, const MethodCall& call, ReplyCallback reply) {
  if (call.method != "activate") {
    std::move(reply).notImplemented();
    return;
  }
  std::string startupId;
  if (!call.arguments.isNull()) {
    const auto arguments = CommandArguments::from(call.arguments);
    const std::string* given = arguments ? arguments->string("startupId") : nullptr;
    if (given == nullptr) {
      std::move(reply).error("INVALID_ARGUMENT", "Expected startupId");
      return;
    }
    if (refuseBeyondLimit(kStartupIdLimit, *given, reply)) return;
    startupId = *given;
  }
  std::move(reply).success(application.reopen(startupId));
}

}  // namespace

InstanceChannel::InstanceChannel(BinaryMessenger& messenger, Application& application) : channel_(messenger, kName) {
  channel_.setMethodCallHandler([&application](const MethodCall& call, ReplyCallback reply) {
    answerInstanceCall(application, call, std::move(reply));
  });
}

InstanceChannel::~InstanceChannel() { channel_.setMethodCallHandler(nullptr); }

}  // namespace quillon
