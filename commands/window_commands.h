// The five "window::" commands, in routing order.
#pragma once

#include "commands/command.h"

namespace quillon {

struct WindowServices;

// `services` must outlive the commands.
CommandList windowCommands(const WindowServices& services);

}  // namespace quillon
