#include "commands/command_dispatcher.h"

namespace quillon {

void CommandDispatcher::handle(const MethodCall& call, ReplyCallback reply) const {
  for (const Command& command : commands_) {
    if (command.name == call.method) {
      command.run(call, std::move(reply));
      return;
    }
  }
  std::move(reply).notImplemented();
}

}  // namespace quillon
