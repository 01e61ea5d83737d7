#include "platform/linux/process/proc_running_applications.h"

#include "platform/linux/process/proc_process_table.h"

namespace quillon {

std::vector<RunningApplication> ProcRunningApplications::list() {
  std::vector<RunningApplication> applications;
  // Without a whole listing there is no list to give: none at all, rather than
  // some applications passed off as all of them.
  const auto ids = userSpaceProcessIds();
  if (!ids) return applications;
  for (const pid_t id : *ids) {
    // A process that ended since the listing is no longer running.
    if (auto name = applicationName(id)) applications.push_back({std::move(name), id});
  }
  return applications;
}

}  // namespace quillon
