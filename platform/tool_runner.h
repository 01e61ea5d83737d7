// ToolRunner: starts a system tool and collects what it writes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillon {

struct ToolRun {
  // False when the tool could not be started; `startError` then says why.
  bool started = false;
  std::string startError;
  // Every byte that the tool wrote to the pipe, until it closed its end.
  std::vector<std::uint8_t> output;
  // The wait status as waitpid gives it; meaningful only when started.
  int waitStatus = 0;

  bool exitedWithZero() const;
};

class ToolRunner {
 public:
  enum class Streams {
    kOutput,          // standard output to the pipe, standard error inherited
    kOutputAndError,  // standard output and standard error to one pipe
  };

  virtual ~ToolRunner() = default;

  // Starts `executable` (an absolute path) with exactly `arguments` (argv[1..]),
  // no shell, the host's environment and working directory, standard input
  // inherited. Reads the pipe to its end and reaps the child before returning:
  // no child and no descriptor outlives the call.
  virtual ToolRun run(const std::string& executable, const std::vector<std::string>& arguments,
                      Streams streams) = 0;
};

}  // namespace quillon
