#include "commands/process_commands.h"

#include <string>

#include "commands/argument_limits.h"
#include "commands/command_arguments.h"
#include "commands/command_replies.h"
#include "process/process_manager.h"

namespace quillon {

namespace {

using Services = std::function<ProcessManager&()>;
using AnsweringOperation = void (ProcessManager::*)(std::int64_t, ReplyCallback);
template <typename Result>
using ReturningOperation = Result (ProcessManager::*)(std::int64_t);

// The commands that take only "processId" and answer what the operation returns.
template <typename Result>
CommandHandler answerForProcessId(Services services, ReturningOperation<Result> operation) {
  return [services = std::move(services), operation](const MethodCall& call, ReplyCallback reply) {
    if (const auto processId = requireProcessId(call, reply)) {
      std::move(reply).success((services().*operation)(*processId));
    }
  };
}

// The commands that take only "processId" and hand the reply to the operation.
CommandHandler handOverForProcessId(Services services, AnsweringOperation operation) {
  return [services = std::move(services), operation](const MethodCall& call, ReplyCallback reply) {
    if (const auto processId = requireProcessId(call, reply)) (services().*operation)(*processId, std::move(reply));
  };
}

CommandHandler getProcessIdList(Services services) {
  return [services = std::move(services)](const MethodCall&, ReplyCallback reply) {
    std::move(reply).success(processIdListValue(services().getProcessIdList()));
  };
}

CommandHandler getCurrentProcessId(Services services) {
  return [services = std::move(services)](const MethodCall&, ReplyCallback reply) {
    std::move(reply).success(static_cast<std::int64_t>(services().getCurrentProcessId()));
  };
}

CommandHandler getProcessesByName(Services services) {
  return [services = std::move(services)](const MethodCall& call, ReplyCallback reply) {
    const auto arguments = CommandArguments::from(call.arguments);
    const std::string* name = arguments ? arguments->string("name") : nullptr;
    if (name == nullptr) return answerInvalidArgument(std::move(reply), "Expected process name");
    if (refuseBeyondLimit(kProcessNameLimit, *name, reply)) return;
    services().getProcessesByName(*name, std::move(reply));
  };
}

}  // namespace

CommandList processCommands(std::function<ProcessManager&()> processManager) {
  const Services& pm = processManager;
  return {
      {"process::getProcessIdList", getProcessIdList(pm)},
      {"process::getCurrentProcessId", getCurrentProcessId(pm)},
      {"process::getProcessesByName", getProcessesByName(pm)},
      {"process::isAlive", answerForProcessId<bool>(pm, &ProcessManager::isAlive)},
      {"process::getMainWindowHandle", handOverForProcessId(pm, &ProcessManager::getMainWindowHandle)},
      {"process::getMainWindowTitle", handOverForProcessId(pm, &ProcessManager::getMainWindowTitle)},
      {"process::closeWindow", answerForProcessId<bool>(pm, &ProcessManager::closeWindow)},
      {"process::killProcess", answerForProcessId<bool>(pm, &ProcessManager::killProcess)},
      {"process::getProcessName", answerForProcessId<std::string>(pm, &ProcessManager::getProcessName)},
      {"process::getProcessFileName", answerForProcessId<std::string>(pm, &ProcessManager::getProcessFileName)},
      {"process::getProcessLaunchArguments",
       answerForProcessId<std::string>(pm, &ProcessManager::getProcessLaunchArguments)},
      {"process::getProcessWorkingDirectory",
       answerForProcessId<std::string>(pm, &ProcessManager::getProcessWorkingDirectory)},
  };
}

}  // namespace quillon
