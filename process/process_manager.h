// ProcessManager: the host's process services, over the platform of a
// ProcessEnvironment. Holds no state of its own: every operation asks the
// system afresh, on the calling thread, and blocks it while a tool runs or
// the platform is asked, each tool for at most its time limit. Operations may
// run on several threads at once when the environment's implementations allow
// it (the host's do: its commands run them on worker threads). The host keeps
// one instance; the environment's implementations must outlive it.
//
// The operations return their result, except the three that answer through a
// completion, which is called exactly once, on the calling thread, before the
// operation returns. Failures come back as values (empty list, "Unknown", "",
// false); the only error reply is "UNAVAILABLE" from the two main-window
// lookups.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "channel/reply_callback.h"
#include "process/process_environment.h"

namespace quillon {

// A list of ids as the interface receives it: a plain list of integers, each
// written in the smallest integer form, not a typed array of 64-bit values.
ChannelValue processIdListValue(const std::vector<std::int64_t>& ids);

class ProcessManager {
 public:
  // How long ps may run before it is killed and counts as failed
  // (docs/process.md says why this, and kill's).
  static constexpr std::chrono::seconds kPsTimeLimit{10};

  explicit ProcessManager(const ProcessEnvironment& environment) : environment_(environment) {}
  ProcessManager(const ProcessManager&) = delete;
  ProcessManager& operator=(const ProcessManager&) = delete;

  std::vector<std::int64_t> getProcessIdList();
  std::int32_t getCurrentProcessId();
  void getProcessesByName(const std::string& processName, ReplyCallback completion);
  bool isAlive(std::int64_t processId);
  void getMainWindowHandle(std::int64_t processId, ReplyCallback completion);
  void getMainWindowTitle(std::int64_t processId, ReplyCallback completion);
  bool closeWindow(std::int64_t processId);
  bool killProcess(std::int64_t processId);
  std::string getProcessName(std::int64_t processId);
  std::string getProcessFileName(std::int64_t processId);
  std::string getProcessLaunchArguments(std::int64_t processId);
  std::string getProcessWorkingDirectory(std::int64_t processId);

 private:
  std::string readProcessField(std::int64_t processId, std::string_view keyword);
  std::optional<std::string> findMainWindowHandle(std::int64_t processId);
  std::optional<std::string> findMainWindowTitle(std::int64_t processId);

  ProcessEnvironment environment_;
};

}  // namespace quillon
