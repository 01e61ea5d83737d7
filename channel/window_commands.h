// The five "window::" commands, in routing order.
#pragma once

#include "channel/command.h"

namespace quillon {

CommandList windowCommands();

}  // namespace quillon
