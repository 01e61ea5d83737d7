// NonModalAlertWindow: a small floating notice with a bold title, a wrapped
// message and an OK button, which never blocks. The constructor measures the
// texts, creates the platform window at the right size, places it, fills it,
// shows it and arms its automatic close; the caller may drop the object at once.
// The window then belongs to the window system until it is closed (OK, its
// close button, or the timeout); the timeout job holds it only weakly. When the
// platform can make no window (no display), nothing is shown.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "window/window_services.h"

namespace quillon {

class NonModalAlertWindow {
 public:
  // The parts of every alert that never vary.
  static constexpr std::string_view kWindowTitle = "QUILLON Remote App";
  static constexpr double kContentWidth = 400.0;
  static constexpr double kTextWidth = 360.0;
  static constexpr double kMessageHeightCap = 300.0;
  static constexpr SystemFont kTitleFont{16.0, FontWeight::bold};
  static constexpr SystemFont kMessageFont{13.0, FontWeight::regular};
  static constexpr SystemFont kButtonFont{14.0, FontWeight::semibold};

  // `timeout` in whole seconds: 1 or more closes the alert by itself that long
  // after it appeared; 0 and less leave it to the user.
  NonModalAlertWindow(const WindowServices& services, const std::string& title, const std::string& message,
                      std::int64_t timeout);
  NonModalAlertWindow(const NonModalAlertWindow&) = delete;
  NonModalAlertWindow& operator=(const NonModalAlertWindow&) = delete;

  // The initial content height for the measured heights: the message counts at
  // most 300 points, the title is rounded up to a whole point.
  static double contentHeight(double messageHeight, double titleHeight);
  // The origin that centres a window of `alert`'s size over `keyWindow`.
  static FrameRect centredOver(const FrameRect& keyWindow, const FrameRect& alert);
  static AlertWindowStyle windowStyle(double contentHeight);
  static AlertContent content(const std::string& title, const std::string& message);

 private:
  std::unique_ptr<AlertWindow> window_;
};

}  // namespace quillon
