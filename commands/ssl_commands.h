// The four "ssl::" commands, in routing order.
#pragma once

#include "commands/blocking_work.h"
#include "commands/command.h"

namespace quillon {

struct IdentityServices;

// The commands keep a reference to the services, which must outlive them.
// The certificate store, openssl and the list of network interfaces are
// reached in jobs of `blocking`; "getPlatformUUID" answers at once.
CommandList sslCommands(const IdentityServices& identity, BlockingWork& blocking);
CommandList sslCommands(const IdentityServices&& identity, BlockingWork& blocking) = delete;

}  // namespace quillon
