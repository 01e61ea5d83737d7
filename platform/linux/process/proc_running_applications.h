// The running applications of a Linux desktop: every user-space process in
// /proc, ascending by id, under the name a user of process tools expects
// (see applicationName). Kernel threads are not applications. When /proc cannot
// be read through, the list is empty.
#pragma once

#include "platform/running_applications.h"

namespace quillon {

class ProcRunningApplications final : public RunningApplications {
 public:
  std::vector<RunningApplication> list() override;
};

}  // namespace quillon
