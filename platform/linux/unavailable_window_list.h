// UnavailableWindowList: the window list of a host that cannot read one (no
// display connection): it never gives a list, so lookups over it report that
// the list could not be had.
#pragma once

#include "platform/window_list.h"

namespace quillon {

class UnavailableWindowList final : public WindowList {
 public:
  std::optional<std::vector<WindowListEntry>> onScreenWindows() override { return std::nullopt; }
};

}  // namespace quillon
