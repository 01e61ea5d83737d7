// PosixToolRunner: the tool run on Linux, with posix_spawn.
//
// The child gets the executable by its absolute path and exactly the given
// arguments (no shell), the host's environment with the run's changes, the
// host's working directory, signal dispositions reset to their defaults, an
// empty signal mask and a process group of its own. Its standard output (or
// standard output and error) goes to a pipe created close-on-exec, and every
// other descriptor above standard error is closed in the child, so no tool
// inherits a connection or a file of the host's, whichever thread opened it
// and however. Standard input and error are inherited.
//
// The pipe is read and the child's end watched (a pidfd) in one poll, bounded
// by the run's time limit. When the child has ended, what it left in its group
// is killed and the rest of the pipe read; at the time limit, or when the
// host ends the runs, the whole group is killed (endAllRuns() kills the groups
// under way itself before it returns, so that it may be followed by _exit). The child is always reaped:
// within a second of the kill, or, when the kernel does not let it die that
// soon (uninterruptible sleep), by a thread of its own once it does, so the
// call is not held. Every read, poll and wait is retried on EINTR. The host's
// environment is read when a tool starts: nothing may change it once
// workers run tools.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <mutex>
#include <vector>

#include "base/unique_fd.h"
#include "platform/tool_runner.h"

namespace quillon {

class PosixToolRunner final : public ToolRunner {
 public:
  PosixToolRunner();

  void endAllRuns() override;

 protected:
  Expected<ToolRun> runTool(const std::string& executable, const std::vector<std::string>& arguments,
                            Streams streams, std::chrono::milliseconds timeLimit,
                            const EnvironmentChanges& environment) override;

 private:
  // The children under way, not yet reaped: their groups are theirs alone.
  void track(pid_t child);
  void untrack(pid_t child);

  std::atomic<bool> ended_{false};
  // Readable once endAllRuns() has been called: every run's poll watches it.
  UniqueFd endOfRuns_;
  std::mutex mutex_;
  std::vector<pid_t> running_;  // guarded by mutex_
};

}  // namespace quillon
