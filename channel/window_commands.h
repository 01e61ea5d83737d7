// The five "window::" commands, in routing order.
#pragma once

#include "channel/command.h"

namespace quillon {

struct WindowServices;

CommandList windowCommands(const WindowServices& services);

}  // namespace quillon
