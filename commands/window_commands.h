// The five "window::" commands, in routing order.
#pragma once

#include "commands/blocking_work.h"
#include "commands/command.h"

namespace quillon {

struct WindowServices;

// The commands keep a reference to the services, which must outlive them.
// "getWindowRect" reads the window list of the whole desktop as a job of
// `blocking`; the others act on the host's own windows and screen and answer
// at once.
CommandList windowCommands(const WindowServices& services, BlockingWork& blocking);
CommandList windowCommands(const WindowServices&& services, BlockingWork& blocking) = delete;

}  // namespace quillon
