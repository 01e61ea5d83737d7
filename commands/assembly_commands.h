// The three "assembly::" commands, in routing order. None takes arguments.
#pragma once

#include "commands/command.h"

namespace quillon {

struct BundleEnvironment;

CommandList assemblyCommands(const BundleEnvironment& environment);

}  // namespace quillon
