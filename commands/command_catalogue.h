// The whole catalogue of the native command channel: the 24 commands in routing
// order ("process::", "window::", "ssl::", "assembly::").
#pragma once

#include <functional>

#include "commands/blocking_work.h"
#include "commands/command.h"

namespace quillon {

class ProcessManager;
struct BundleEnvironment;
struct IdentityServices;
struct WindowServices;

// What the commands reach. The services and their platform must outlive the
// catalogue; `processManager` is read on every process command. The commands
// that wait for a tool or scan the machine run that work as jobs of
// `blocking`, on workers: the services must outlive those jobs too.
struct CommandServices {
  std::function<ProcessManager&()> processManager;
  const WindowServices& window;
  const IdentityServices& identity;
  const BundleEnvironment& bundle;
  BlockingWork& blocking;
};

CommandList commandCatalogue(const CommandServices& services);

}  // namespace quillon
