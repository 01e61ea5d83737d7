#include "platform/tool_runner.h"

#include <sys/wait.h>

namespace quillon {

bool ToolRun::exitedWithZero() const { return WIFEXITED(waitStatus) && WEXITSTATUS(waitStatus) == 0; }

}  // namespace quillon
