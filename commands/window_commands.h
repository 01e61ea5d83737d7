// The five "window::" commands, in routing order.
#pragma once

#include "commands/command.h"

namespace quillon {

struct WindowServices;

// The commands keep a reference to the services, which must outlive them.
CommandList windowCommands(const WindowServices& services);
CommandList windowCommands(const WindowServices&& services) = delete;

}  // namespace quillon
