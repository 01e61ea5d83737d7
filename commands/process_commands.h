// The twelve "process::" commands, in routing order.
#pragma once

#include <functional>

#include "commands/blocking_work.h"
#include "commands/command.h"

namespace quillon {

class ProcessManager;

// `processManager` is read on every process command: the main window owns the
// instance. Every command but "getCurrentProcessId" and
// "getProcessWorkingDirectory" runs its operation as a job of `blocking`;
// both must outlive the commands and the jobs.
CommandList processCommands(std::function<ProcessManager&()> processManager, BlockingWork& blocking);

}  // namespace quillon
