#include "channel/process_commands.h"

#include "channel/unbuilt_commands.h"

namespace quillon {

CommandList processCommands(std::function<ProcessManager&()>) {
  return unbuiltCommands({"process::getProcessIdList", "process::getCurrentProcessId", "process::getProcessesByName",
                          "process::isAlive", "process::getMainWindowHandle", "process::getMainWindowTitle",
                          "process::closeWindow", "process::killProcess", "process::getProcessName",
                          "process::getProcessFileName", "process::getProcessLaunchArguments",
                          "process::getProcessWorkingDirectory"});
}

}  // namespace quillon
