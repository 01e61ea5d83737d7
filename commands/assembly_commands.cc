#include "commands/assembly_commands.h"

#include "bundle/assembly_data.h"

namespace quillon {

namespace {

using PathOperation = std::string (*)(const BundleEnvironment&);

CommandHandler answerPath(const BundleEnvironment& environment, PathOperation operation) {
  return [&environment, operation](const MethodCall&, ReplyCallback reply) {
    std::move(reply).success(operation(environment));
  };
}

}  // namespace

CommandList assemblyCommands(const BundleEnvironment& environment) {
  return {
      {"assembly::getExecutingAssemblyPath", answerPath(environment, &AssemblyData::getAppExecutablePath)},
      {"assembly::getRDPBinaryExecutablePath", answerPath(environment, &AssemblyData::getRDPBinaryExecutablePath)},
      {"assembly::getTXBinaryExecutablePath", answerPath(environment, &AssemblyData::getTXBinaryExecutablePath)},
  };
}

}  // namespace quillon
