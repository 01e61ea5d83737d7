// CommandDispatcher: the method-call handler of the native command channel.
//
// It compares the method name with the command names in routing order (exact
// equality), runs the first command that matches and answers not-implemented
// when none does. Every call is answered exactly once, before handle() returns.
#pragma once

#include "commands/command.h"

namespace quillon {

class CommandDispatcher {
 public:
  // `commands` in routing order.
  explicit CommandDispatcher(CommandList commands) : commands_(std::move(commands)) {}

  CommandDispatcher(const CommandDispatcher&) = delete;
  CommandDispatcher& operator=(const CommandDispatcher&) = delete;

  void handle(const MethodCall& call, ReplyCallback reply) const;

 private:
  CommandList commands_;
};

}  // namespace quillon
