// The four "ssl::" commands, in routing order.
#pragma once

#include "commands/command.h"

namespace quillon {

struct IdentityServices;

CommandList sslCommands(const IdentityServices& identity);

}  // namespace quillon
