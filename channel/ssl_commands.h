// The four "ssl::" commands, in routing order.
#pragma once

#include "channel/command.h"

namespace quillon {

CommandList sslCommands();

}  // namespace quillon
