// PidfdProcessEnds: ProcessEnds through a pidfd of the process, which becomes
// readable when it ends. An id that names no process (or a thread of one) has
// nothing to wait for.
#pragma once

#include "platform/process_ends.h"

namespace quillon {

class PidfdProcessEnds final : public ProcessEnds {
 public:
  void waitForEnd(std::int64_t processId, std::chrono::milliseconds limit) override;
};

}  // namespace quillon
