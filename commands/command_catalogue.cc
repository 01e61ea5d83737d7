#include "commands/command_catalogue.h"

#include "commands/assembly_commands.h"
#include "commands/process_commands.h"
#include "commands/ssl_commands.h"
#include "commands/window_commands.h"

namespace quillon {

CommandList commandCatalogue(const CommandServices& services) {
  CommandList catalogue = processCommands(services.processManager, services.blocking);
  for (CommandList part : {windowCommands(services.window, services.blocking),
                           sslCommands(services.identity, services.blocking), assemblyCommands(services.bundle)}) {
    std::move(part.begin(), part.end(), std::back_inserter(catalogue));
  }
  return catalogue;
}

}  // namespace quillon
