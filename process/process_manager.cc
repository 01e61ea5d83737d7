#include "process/process_manager.h"

#include <unistd.h>

#include <utility>

#include "process/main_window_script.h"
#include "process/process_id_list.h"
#include "process/unicode_text.h"

namespace quillon {
namespace {

constexpr const char* kProcessTool = "/bin/ps";
constexpr const char* kKillTool = "/bin/kill";
constexpr std::string_view kUnknown = "Unknown";
constexpr std::string_view kUnavailable = "UNAVAILABLE";

// Ids of zero and below reach whole process groups, the host's own among them.
bool namesOneProcess(std::int64_t processId) { return processId > 0; }

}  // namespace

ChannelValue processIdListValue(const std::vector<std::int64_t>& ids) {
  return ChannelList(ids.begin(), ids.end());
}

std::vector<std::int64_t> ProcessManager::getProcessIdList() {
  const ToolRun run = environment_.tools.run(kProcessTool, {"-e", "-o", "pid"}, ToolRunner::Streams::kOutput);
  if (!run.started) return {};
  const auto text = decodeUtf8(run.output);
  return text ? parseProcessIdList(*text) : std::vector<std::int64_t>{};
}

std::int32_t ProcessManager::getCurrentProcessId() { return ::getpid(); }

void ProcessManager::getProcessesByName(const std::string& processName, Completion completion) {
  std::vector<std::int64_t> ids;
  for (const RunningApplication& application : environment_.applications.list()) {
    if (application.localizedName && canonicallyEqual(*application.localizedName, processName)) {
      ids.push_back(application.processId);
    }
  }
  std::move(completion).success(processIdListValue(ids));
}

bool ProcessManager::isAlive(std::int64_t processId) {
  const ToolRun run =
      environment_.tools.run(kProcessTool, {"-p", std::to_string(processId)}, ToolRunner::Streams::kOutput);
  const auto text = decodeUtf8(run.output);
  if (!run.started || !text) return false;
  // The first line is the column header, printed whether or not the process exists.
  const std::size_t headerEnd = text->find('\n');
  return headerEnd != std::string::npos && !trimBlanksAndLineBreaks(text->substr(headerEnd + 1)).empty();
}

void ProcessManager::getMainWindowHandle(std::int64_t processId, Completion completion) {
  completeMainWindowLookup(
      processId, std::move(completion), [this](std::int64_t id) { return findMainWindowHandle(id); },
      "Main window handle not found");
}

void ProcessManager::getMainWindowTitle(std::int64_t processId, Completion completion) {
  completeMainWindowLookup(
      processId, std::move(completion), [this](std::int64_t id) { return findMainWindowTitle(id); },
      "Main window title not found");
}

bool ProcessManager::closeWindow(std::int64_t processId) { return killProcess(processId); }

bool ProcessManager::killProcess(std::int64_t processId) {
  if (!namesOneProcess(processId)) return false;
  return environment_.tools.run(kKillTool, {"-9", std::to_string(processId)}, ToolRunner::Streams::kOutput)
      .exitedWithZero();
}

std::string ProcessManager::getProcessName(std::int64_t processId) { return readProcessField(processId, "comm="); }

std::string ProcessManager::getProcessFileName(std::int64_t processId) {
  return readProcessField(processId, "args=");
}

std::string ProcessManager::getProcessLaunchArguments(std::int64_t processId) {
  return readProcessField(processId, "args=");
}

std::string ProcessManager::getProcessWorkingDirectory(std::int64_t) { return std::string(kUnknown); }

void ProcessManager::getProcessIdList(Completion completion) { std::move(completion).success(processIdListValue(getProcessIdList())); }

void ProcessManager::getCurrentProcessId(Completion completion) {
  std::move(completion).success(getCurrentProcessId());
}

void ProcessManager::getProcessesByNameWithProcessName(const std::string& processName, Completion completion) {
  getProcessesByName(processName, std::move(completion));
}

void ProcessManager::isAliveWithProcessId(std::int64_t processId, Completion completion) {
  std::move(completion).success(isAlive(processId));
}

void ProcessManager::getMainWindowHandleWithProcessId(std::int64_t processId, Completion completion) {
  getMainWindowHandle(processId, std::move(completion));
}

void ProcessManager::getMainWindowTitleWithProcessId(std::int64_t processId, Completion completion) {
  getMainWindowTitle(processId, std::move(completion));
}

void ProcessManager::closeWindowWithProcessId(std::int64_t processId, Completion completion) {
  std::move(completion).success(closeWindow(processId));
}

void ProcessManager::killProcessWithProcessId(std::int64_t processId, Completion completion) {
  std::move(completion).success(killProcess(processId));
}

void ProcessManager::getProcessNameWithProcessId(std::int64_t processId, Completion completion) {
  std::move(completion).success(getProcessName(processId));
}

void ProcessManager::getProcessFileNameWithProcessId(std::int64_t processId, Completion completion) {
  std::move(completion).success(getProcessFileName(processId));
}

void ProcessManager::getProcessLaunchArgumentsWithProcessId(std::int64_t processId, Completion completion) {
  std::move(completion).success(getProcessLaunchArguments(processId));
}

void ProcessManager::getProcessWorkingDirectoryWithProcessId(std::int64_t processId, Completion completion) {
  std::move(completion).success(getProcessWorkingDirectory(processId));
}

std::string ProcessManager::readProcessField(std::int64_t processId, std::string_view keyword) {
  const ToolRun run = environment_.tools.run(kProcessTool, {"-p", std::to_string(processId), "-o", std::string(keyword)},
                                             ToolRunner::Streams::kOutput);
  if (!run.started) return std::string(kUnknown);
  const auto text = decodeUtf8(run.output);
  return text ? std::string(trimBlanksAndLineBreaks(*text)) : std::string(kUnknown);
}

void ProcessManager::completeMainWindowLookup(std::int64_t processId, Completion completion, const Lookup& lookup,
                                              std::string_view notFoundMessage) {
  if (auto found = lookup(processId)) {
    std::move(completion).success(std::move(*found));
  } else {
    std::move(completion).error(std::string(kUnavailable), std::string(notFoundMessage));
  }
}

std::optional<std::string> ProcessManager::findMainWindowHandle(std::int64_t processId) {
  return runAppleScript(mainWindowHandleScript(processId));
}

std::optional<std::string> ProcessManager::runAppleScript(const std::string& source) {
  ScriptOutcome outcome = environment_.scripts.run(source);
  switch (outcome.kind) {
    case ScriptOutcome::Kind::kNotMade:
      return std::nullopt;
    case ScriptOutcome::Kind::kFailed:
      environment_.diagnostics.printLine("AppleScript Error: " + outcome.errorInformation);
      return std::nullopt;
    case ScriptOutcome::Kind::kResult:
      return std::move(outcome.text);
  }
  return std::nullopt;
}

std::optional<std::string> ProcessManager::findMainWindowTitle(std::int64_t processId) {
  const auto windows = environment_.windows.onScreenWindows();
  if (!windows) {
    environment_.diagnostics.printLine("Error: Could not retrieve window list from Core Graphics.");
    return std::nullopt;
  }
  for (const WindowListEntry& window : *windows) {
    if (window.ownerProcessId == processId && window.name && !window.name->empty()) return window.name;
  }
  return std::nullopt;
}

}  // namespace quillon
