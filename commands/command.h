// One command of the native command channel: its name and what answers it.
#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "channel/method_call.h"
#include "channel/reply_callback.h"

namespace quillon {

// Answers `call` through `reply`, exactly once, before returning.
using CommandHandler = std::function<void(const MethodCall& call, ReplyCallback reply)>;

struct Command {
  std::string_view name;
  CommandHandler run;
};

using CommandList = std::vector<Command>;

}  // namespace quillon
