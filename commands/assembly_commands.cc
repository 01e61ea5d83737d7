#include "commands/assembly_commands.h"

#include "bundle/assembly_data.h"
#include "commands/command_replies.h"

namespace quillon {

CommandList assemblyCommands(const BundleEnvironment& environment) {
  return {
      {"assembly::getExecutingAssemblyPath", answerText(environment, &AssemblyData::getAppExecutablePath)},
      {"assembly::getRDPBinaryExecutablePath", answerText(environment, &AssemblyData::getRDPBinaryExecutablePath)},
      {"assembly::getTXBinaryExecutablePath", answerText(environment, &AssemblyData::getTXBinaryExecutablePath)},
  };
}

}  // namespace quillon
