#include "channel/command_catalogue.h"

#include "channel/assembly_commands.h"
#include "channel/process_commands.h"
#include "channel/ssl_commands.h"
#include "channel/window_commands.h"

namespace quillon {

CommandList commandCatalogue(const CommandServices& services) {
  CommandList catalogue = processCommands(services.processManager);
  for (CommandList part : {windowCommands(services.window), sslCommands(services.identity),
                           assemblyCommands(services.bundle)}) {
    std::move(part.begin(), part.end(), std::back_inserter(catalogue));
  }
  return catalogue;
}

}  // namespace quillon
