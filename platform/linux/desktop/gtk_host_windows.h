// GtkHostWindows: the host's own GTK top-level windows. A window's number is its
// X window id, so a window gets one once it is realized. Frames are converted
// between X's top-left origin and the bottom-left origin of the window services;
// the whole frame includes the window manager's decoration. Without a display
// there are no windows. Main thread only.
#pragma once

#include "platform/host_windows.h"

namespace quillon {

class GtkHostWindows final : public HostWindows {
 public:
  std::vector<std::unique_ptr<HostWindow>> windows() override;
  std::unique_ptr<HostWindow> keyWindow() override;
};

}  // namespace quillon
