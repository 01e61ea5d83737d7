// The three "assembly::" commands, in routing order. None takes arguments.
#pragma once

#include "commands/command.h"

namespace quillon {

struct BundleEnvironment;

// The commands keep a reference to the environment, which must outlive them.
CommandList assemblyCommands(const BundleEnvironment& environment);
CommandList assemblyCommands(const BundleEnvironment&& environment) = delete;

}  // namespace quillon
