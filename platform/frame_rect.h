// FrameRect: a window or screen rectangle in the desktop's screen coordinates as
// the window services use them: points, origin at the bottom-left corner of the
// whole screen, y growing upward. The platform layer converts from its own
// coordinates (X11 counts from the top-left) where the difference matters.
#pragma once

namespace quillon {

struct FrameRect {
  double x = 0.0;
  double y = 0.0;
  double width = 0.0;
  double height = 0.0;

  friend bool operator==(const FrameRect&, const FrameRect&) = default;
};

}  // namespace quillon
