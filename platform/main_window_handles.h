// MainWindowHandles: what the desktop answers when asked for the process with
// a unix id, the handle that "process::getMainWindowHandle" gives the
// interface. The handle is the id of the process the desktop lists under that
// id, not a window number.
//
// Contract: `processId` is taken as the 64-bit id it is and never narrowed to
// the id of another process. An implementation may be called from any thread,
// several calls at once: the lookup runs on worker threads.
#pragma once

#include <cstdint>
#include <optional>

#include "base/expected.h"

namespace quillon {

class MainWindowHandles {
 public:
  virtual ~MainWindowHandles() = default;
  // The id of the process that the desktop lists as `processId`; nothing when
  // it lists none (an answer, not a failure); a Failure, in the desktop's own
  // words, when it could not be asked.
  virtual Expected<std::optional<std::int64_t>> handleOf(std::int64_t processId) = 0;
};

}  // namespace quillon
