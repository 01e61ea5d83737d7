#include "platform/linux/proc_running_applications.h"

#include "platform/linux/proc_process_table.h"

namespace quillon {

std::vector<RunningApplication> ProcRunningApplications::list() {
  std::vector<RunningApplication> applications;
  for (const pid_t id : userSpaceProcessIds()) {
    // A process that ended since the listing is no longer running.
    if (auto name = applicationName(id)) applications.push_back({std::move(name), id});
  }
  return applications;
}

}  // namespace quillon
