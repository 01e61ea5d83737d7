// PosixToolRunner: runs a system tool with posix_spawn, no shell in between.
//
// The pipe is created close-on-exec, so the child holds only the end it was
// given as standard output (and error); the host reads it to its end and then
// reaps the child, retrying both on EINTR. Any thread may call run(); it blocks
// that thread for as long as the tool runs.
#pragma once

#include "platform/tool_runner.h"

namespace quillon {

class PosixToolRunner final : public ToolRunner {
 public:
  ToolRun run(const std::string& executable, const std::vector<std::string>& arguments,
              Streams streams) override;
};

}  // namespace quillon
