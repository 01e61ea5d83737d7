// ProcessQueryScriptRunner: stands in on Linux for the desktop scripting
// service that the main-window handle lookup talks to. It understands the one
// script the host sends, the process query "every process whose unix id is N"
// inside a `tell application "System Events"` block, and answers it from /proc:
// the id's decimal text when a user-space process has that id, the empty text
// otherwise. Any other script is answered with an error report.
#pragma once

#include "platform/script_runner.h"

namespace quillon {

class ProcessQueryScriptRunner final : public ScriptRunner {
 public:
  Expected<std::optional<std::string>, ScriptFailure> run(const std::string& source) override;
};

}  // namespace quillon
