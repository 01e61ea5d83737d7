// ToolRunner: starts a system tool and collects what it writes.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/expected.h"

namespace quillon {

// A tool that was started and has ended.
struct ToolRun {
  // Every byte that the tool wrote to the pipe, until it closed its end.
  std::vector<std::uint8_t> output;
  // The wait status as waitpid gives it.
  int waitStatus = 0;

  bool exitedWithZero() const;
};

// What a tool run changes in the host's environment before the tool gets it:
// the `removed` variables go, then the `set` ones take their values. No changes:
// the tool inherits the host's environment as it is.
struct EnvironmentChanges {
  std::vector<std::string> removed;
  std::vector<std::pair<std::string, std::string>> set;

  bool empty() const { return removed.empty() && set.empty(); }
  friend bool operator==(const EnvironmentChanges&, const EnvironmentChanges&) = default;
};

class ToolRunner {
 public:
  enum class Streams {
    kOutput,          // standard output to the pipe, standard error inherited
    kOutputAndError,  // standard output and standard error to one pipe
  };

  virtual ~ToolRunner() = default;

  // Starts `executable` (an absolute path) with exactly `arguments` (argv[1..]),
  // no shell, the host's environment with `environment`'s changes, the host's
  // working directory, standard input inherited, in a process group of its
  // own. Reads the pipe to its end and reaps the child before returning; what
  // the tool started and left behind in its group is killed once it has
  // ended: no child and no descriptor outlives the call. Fails, with the
  // system's reason, when the tool cannot be started. A tool that has not
  // ended within `timeLimit` is killed with its whole group and reaped, one
  // line on standard error names it, its arguments and the limit, and the run
  // fails. Safe to call from several threads at once.
  Expected<ToolRun> run(const std::string& executable, const std::vector<std::string>& arguments, Streams streams,
                        std::chrono::milliseconds timeLimit, const EnvironmentChanges& environment = {}) {
    return runTool(executable, arguments, streams, timeLimit, environment);
  }

  // For the host's end: every run under way ends at once as at its time limit,
  // without the line, and every later run fails without starting. Any thread.
  virtual void endAllRuns() = 0;

 protected:
  virtual Expected<ToolRun> runTool(const std::string& executable, const std::vector<std::string>& arguments,
                                    Streams streams, std::chrono::milliseconds timeLimit,
                                    const EnvironmentChanges& environment) = 0;
};

}  // namespace quillon
