// ProcMainWindowHandles: the handle lookup on Linux, where no desktop service
// lists processes by unix id: /proc does. The handle is the id itself when a
// user-space process has it (neither a kernel thread nor a thread of another
// process, which /proc answers for but does not list), nothing otherwise. An
// id beyond a pid_t names no process here: it is never narrowed. /proc
// answers for every id, so the lookup never fails.
#pragma once

#include "platform/main_window_handles.h"

namespace quillon {

class ProcMainWindowHandles final : public MainWindowHandles {
 public:
  Expected<std::optional<std::int64_t>> handleOf(std::int64_t processId) override;
};

}  // namespace quillon
