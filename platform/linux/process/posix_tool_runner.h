// PosixToolRunner: the tool run on Linux, with posix_spawn.
//
// The child gets the executable by its absolute path and exactly the given
// arguments (no shell), the host's environment with the run's changes, the
// host's working directory, signal
// dispositions reset to their defaults and an empty signal mask. Its standard
// output (or standard output and error) goes to a pipe created close-on-exec,
// so no other child inherits it; everything else is inherited. The pipe is read
// to its end and the child is always reaped, so neither a zombie nor a
// descriptor outlives a call. Every read and wait is retried on EINTR.
#pragma once

#include "platform/tool_runner.h"

namespace quillon {

class PosixToolRunner final : public ToolRunner {
 protected:
  Expected<ToolRun> runTool(const std::string& executable, const std::vector<std::string>& arguments,
                            Streams streams, const EnvironmentChanges& environment) override;
};

}  // namespace quillon
