#include "process/process_manager.h"

#include <unistd.h>

#include <utility>

#include "channel/utf8_text.h"
#include "process/process_id.h"
#include "process/process_id_list.h"
#include "process/unicode_text.h"

namespace quillon {
namespace {

constexpr const char* kProcessTool = "/bin/ps";
constexpr const char* kKillTool = "/bin/kill";
constexpr std::string_view kUnknown = "Unknown";
constexpr std::string_view kUnavailable = "UNAVAILABLE";
constexpr std::chrono::seconds kKillTimeLimit{5};
// How long a kill waits for its process to end before it answers.
constexpr std::chrono::seconds kKillEndTime{1};

// procps reads its settings from the environment it inherits, and these would
// make ps print something other than what our command lines ask for:
// PS_PERSONALITY, CMD_ENV and I_WANT_A_BROKEN_PS give "-e" its BSD meaning (no
// longer every process), PS_FORMAT replaces the default columns, COLUMNS and
// LINES cut the output, LIBPROC_HIDE_KERNEL hides kernel threads from the
// table, and a locale that is not UTF-8 prints every non-ASCII character as "?".
const EnvironmentChanges& psEnvironment() {
  static const EnvironmentChanges changes{
      .removed = {"PS_PERSONALITY", "CMD_ENV", "I_WANT_A_BROKEN_PS", "PS_FORMAT", "COLUMNS", "LINES",
                  "LIBPROC_HIDE_KERNEL"},
      .set = {{"LC_ALL", "C.UTF-8"}},
  };
  return changes;
}

Expected<ToolRun> runPs(ToolRunner& tools, const std::vector<std::string>& arguments) {
  return tools.run(kProcessTool, arguments, ToolRunner::Streams::kOutput, ProcessManager::kPsTimeLimit,
                   psEnvironment());
}

bool startedAndExitedWithZero(const Expected<ToolRun>& run) { return run.hasValue() && run->exitedWithZero(); }

// A text found is the answer, even an empty one; nothing found is "UNAVAILABLE".
void completeMainWindowLookup(std::optional<std::string> found, ReplyCallback completion,
                              std::string_view notFoundMessage) {
  if (found) {
    std::move(completion).success(std::move(*found));
  } else {
    std::move(completion).error(std::string(kUnavailable), std::string(notFoundMessage));
  }
}

}  // namespace

ChannelValue processIdListValue(const std::vector<std::int64_t>& ids) {
  return ChannelList(ids.begin(), ids.end());
}

std::vector<std::int64_t> ProcessManager::getProcessIdList() {
  const auto run = runPs(environment_.tools, {"-e", "-o", "pid"});
  if (!run.hasValue()) return {};
  const auto text = decodeUtf8(run->output);
  return text ? parseProcessIdList(*text) : std::vector<std::int64_t>{};
}

std::int32_t ProcessManager::getCurrentProcessId() { return ::getpid(); }

void ProcessManager::getProcessesByName(const std::string& processName, ReplyCallback completion) {
  std::vector<std::int64_t> ids;
  for (const RunningApplication& application : environment_.applications.list()) {
    if (application.localizedName && canonicallyEqual(*application.localizedName, processName)) {
      ids.push_back(application.processId);
    }
  }
  std::move(completion).success(processIdListValue(ids));
}

// ps prints its column header whether or not the process exists, and what it
// prints below depends on its settings; its exit status is 0 exactly when it
// listed the id.
bool ProcessManager::isAlive(std::int64_t processId) {
  if (!isPossibleProcessId(processId)) return false;
  return startedAndExitedWithZero(runPs(environment_.tools, {"-p", std::to_string(processId)}));
}

void ProcessManager::getMainWindowHandle(std::int64_t processId, ReplyCallback completion) {
  completeMainWindowLookup(findMainWindowHandle(processId), std::move(completion), "Main window handle not found");
}

void ProcessManager::getMainWindowTitle(std::int64_t processId, ReplyCallback completion) {
  completeMainWindowLookup(findMainWindowTitle(processId), std::move(completion), "Main window title not found");
}

bool ProcessManager::closeWindow(std::int64_t processId) { return killProcess(processId); }

// SIGKILL takes effect when its target next runs: the answer waits for that
// (a moment, unless the process is stuck in the kernel), so that a liveness
// check that follows it sees the kill.
bool ProcessManager::killProcess(std::int64_t processId) {
  if (!isPossibleProcessId(processId)) return false;
  const bool killed = startedAndExitedWithZero(environment_.tools.run(
      kKillTool, {"-9", std::to_string(processId)}, ToolRunner::Streams::kOutput, kKillTimeLimit));
  if (killed) environment_.ends.waitForEnd(processId, kKillEndTime);
  return killed;
}

std::string ProcessManager::getProcessName(std::int64_t processId) { return readProcessField(processId, "comm="); }

std::string ProcessManager::getProcessFileName(std::int64_t processId) {
  return readProcessField(processId, "args=");
}

std::string ProcessManager::getProcessLaunchArguments(std::int64_t processId) {
  return readProcessField(processId, "args=");
}

std::string ProcessManager::getProcessWorkingDirectory(std::int64_t) { return std::string(kUnknown); }

// An id that names no process reads as the empty text, as ps answers for one.
std::string ProcessManager::readProcessField(std::int64_t processId, std::string_view keyword) {
  if (!isPossibleProcessId(processId)) return {};
  const auto run = runPs(environment_.tools, {"-p", std::to_string(processId), "-o", std::string(keyword)});
  if (!run.hasValue()) return std::string(kUnknown);
  const auto text = decodeUtf8(run->output);
  return text ? std::string(trimBlanksAndLineBreaks(*text)) : std::string(kUnknown);
}

// The desktop lists only the ids a process can have: any other id names no
// process it lists, and never reaches it to be narrowed to another one.
std::optional<std::string> ProcessManager::findMainWindowHandle(std::int64_t processId) {
  if (!isPossibleProcessId(processId)) return std::string();
  const auto handle = environment_.handles.handleOf(processId);
  if (!handle.hasValue()) {
    environment_.diagnostics.printLine("AppleScript Error: " + handle.error().reason);
    return std::nullopt;
  }
  return *handle ? std::to_string(**handle) : std::string();
}

std::optional<std::string> ProcessManager::findMainWindowTitle(std::int64_t processId) {
  const auto windows = environment_.windows.onScreenWindows();
  if (!windows) {
    environment_.diagnostics.printLine("Error: Could not retrieve window list from Core Graphics.");
    return std::nullopt;
  }
  // A name that is not UTF-8 is no text to show: the window counts as unnamed.
  for (const WindowListEntry& window : *windows) {
    if (window.ownerProcessId != processId || !window.name || window.name->empty()) continue;
    if (isUtf8Text(*window.name)) return window.name;
  }
  return std::nullopt;
}

}  // namespace quillon
