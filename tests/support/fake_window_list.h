// A window list that answers what the test set: nothing (no list) until the
// test gives it windows. Shared by the window and process fakes.
#pragma once

#include <optional>
#include <vector>

#include "platform/window_list.h"

namespace quillon::testing {

class FakeWindowList final : public WindowList {
 public:
  std::optional<std::vector<WindowListEntry>> onScreenWindows() override { return windows; }

  std::optional<std::vector<WindowListEntry>> windows;
};

}  // namespace quillon::testing
