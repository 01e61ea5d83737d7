#include "process/main_window_script.h"

namespace quillon {

std::string mainWindowHandleScript(std::int64_t processId) {
  std::string script(kMainWindowScriptHead);
  script += std::to_string(processId);
  script += kMainWindowScriptTail;
  return script;
}

}  // namespace quillon
