// The four "ssl::" commands, in routing order.
#pragma once

#include "commands/command.h"

namespace quillon {

struct IdentityServices;

// The commands keep a reference to the services, which must outlive them.
CommandList sslCommands(const IdentityServices& identity);
CommandList sslCommands(const IdentityServices&& identity) = delete;

}  // namespace quillon
