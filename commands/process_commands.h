// The twelve "process::" commands, in routing order.
#pragma once

#include <functional>

#include "commands/command.h"

namespace quillon {

class ProcessManager;

// `processManager` is read on every process command: the main window owns the instance.
CommandList processCommands(std::function<ProcessManager&()> processManager);

}  // namespace quillon
