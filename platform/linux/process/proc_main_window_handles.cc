#include "platform/linux/process/proc_main_window_handles.h"

#include <limits>

#include "platform/linux/process/proc_process_table.h"

namespace quillon {

Expected<std::optional<std::int64_t>> ProcMainWindowHandles::handleOf(std::int64_t processId) {
  if (processId <= 0 || processId > std::numeric_limits<pid_t>::max()) return std::nullopt;
  if (!isUserSpaceProcess(static_cast<pid_t>(processId))) return std::nullopt;
  return std::optional(processId);
}

}  // namespace quillon
