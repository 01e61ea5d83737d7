// Screens: the main screen's rectangles. Used on the main thread only.
#pragma once

#include <optional>

#include "platform/frame_rect.h"

namespace quillon {

struct ScreenFrames {
  FrameRect frame;         // the whole screen, panels and docks included
  FrameRect visibleFrame;  // the part that panels and docks leave free
};

class Screens {
 public:
  virtual ~Screens() = default;
  // The screen that holds the key window, else the one that holds the host's
  // window on the screen, else the primary screen; nothing when there is no
  // screen at all (no display).
  virtual std::optional<ScreenFrames> mainScreen() = 0;
};

}  // namespace quillon
