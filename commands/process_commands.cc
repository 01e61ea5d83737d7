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

// The commands that take only "processId" and answer what the operation
// returns, run on a worker.
template <typename Result>
CommandHandler blockingForProcessId(Services services, BlockingWork& blocking, ReturningOperation<Result> operation) {
  return [services = std::move(services), &blocking, operation](const MethodCall& call, ReplyCallback reply) {
    const auto processId = requireProcessId(call, reply);
    if (!processId) return;
    ProcessManager& manager = services();
    blocking.run(std::move(reply), [&manager, operation, processId = *processId] {
      return ChannelReply::success((manager.*operation)(processId));
    });
  };
}

// The commands that take only "processId" and hand a completion to the
// operation, run on a worker.
CommandHandler blockingHandOverForProcessId(Services services, BlockingWork& blocking, AnsweringOperation operation) {
  return [services = std::move(services), &blocking, operation](const MethodCall& call, ReplyCallback reply) {
    const auto processId = requireProcessId(call, reply);
    if (!processId) return;
    ProcessManager& manager = services();
    blocking.run(std::move(reply), [&manager, operation, processId = *processId] {
      return answerGiven([&](ReplyCallback completion) { (manager.*operation)(processId, std::move(completion)); });
    });
  };
}

CommandHandler getProcessIdList(Services services, BlockingWork& blocking) {
  return [services = std::move(services), &blocking](const MethodCall&, ReplyCallback reply) {
    ProcessManager& manager = services();
    blocking.run(std::move(reply),
                 [&manager] { return ChannelReply::success(processIdListValue(manager.getProcessIdList())); });
  };
}

CommandHandler getCurrentProcessId(Services services) {
  return [services = std::move(services)](const MethodCall&, ReplyCallback reply) {
    std::move(reply).success(static_cast<std::int64_t>(services().getCurrentProcessId()));
  };
}

CommandHandler getProcessesByName(Services services, BlockingWork& blocking) {
  return [services = std::move(services), &blocking](const MethodCall& call, ReplyCallback reply) {
    const auto arguments = CommandArguments::from(call.arguments);
    const std::string* name = arguments ? arguments->string("name") : nullptr;
    if (name == nullptr) return answerInvalidArgument(std::move(reply), "Expected process name");
    if (refuseBeyondLimit(kProcessNameLimit, *name, reply)) return;
    ProcessManager& manager = services();
    blocking.run(std::move(reply), [&manager, name = *name] {
      return answerGiven([&](ReplyCallback completion) { manager.getProcessesByName(name, std::move(completion)); });
    });
  };
}

// Answers "Unknown" for every id, at once: it asks the system nothing.
CommandHandler getProcessWorkingDirectory(Services services) {
  return [services = std::move(services)](const MethodCall& call, ReplyCallback reply) {
    if (const auto processId = requireProcessId(call, reply)) {
      std::move(reply).success(services().getProcessWorkingDirectory(*processId));
    }
  };
}

}  // namespace

CommandList processCommands(std::function<ProcessManager&()> processManager, BlockingWork& blocking) {
  const Services& pm = processManager;
  return {
      {"process::getProcessIdList", getProcessIdList(pm, blocking)},
      {"process::getCurrentProcessId", getCurrentProcessId(pm)},
      {"process::getProcessesByName", getProcessesByName(pm, blocking)},
      {"process::isAlive", blockingForProcessId<bool>(pm, blocking, &ProcessManager::isAlive)},
      {"process::getMainWindowHandle",
       blockingHandOverForProcessId(pm, blocking, &ProcessManager::getMainWindowHandle)},
      {"process::getMainWindowTitle", blockingHandOverForProcessId(pm, blocking, &ProcessManager::getMainWindowTitle)},
      {"process::closeWindow", blockingForProcessId<bool>(pm, blocking, &ProcessManager::closeWindow)},
      {"process::killProcess", blockingForProcessId<bool>(pm, blocking, &ProcessManager::killProcess)},
      {"process::getProcessName", blockingForProcessId<std::string>(pm, blocking, &ProcessManager::getProcessName)},
      {"process::getProcessFileName",
       blockingForProcessId<std::string>(pm, blocking, &ProcessManager::getProcessFileName)},
      {"process::getProcessLaunchArguments",
       blockingForProcessId<std::string>(pm, blocking, &ProcessManager::getProcessLaunchArguments)},
      {"process::getProcessWorkingDirectory", getProcessWorkingDirectory(pm)},
  };
}

}  // namespace quillon
