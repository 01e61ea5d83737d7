// GtkScreens: the main screen is the monitor that holds the host's key window;
// while another application has the keyboard, the monitor that holds the
// host's first window on the screen (the main window); else the primary
// monitor (else the first one). Its geometry is the full frame
// and its work area (what panels and docks leave free, from _NET_WORKAREA) the
// visible frame, in GDK's application pixels. No display: no screen.
#pragma once

#include "platform/screens.h"

namespace quillon {

class GtkScreens final : public Screens {
 public:
  std::optional<ScreenFrames> mainScreen() override;
};

}  // namespace quillon
