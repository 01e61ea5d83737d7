// ApplicationWindow: the window and screen services of the host. Stateless:
// every operation is class-level, asks the platform afresh and keeps nothing.
// All operations return synchronously; none fails outwards (absent, an empty
// answer or false stand for failure). getWindowRect reads only the window list
// and the diagnostics, and may run on a worker thread; the others touch the
// host's own windows and run on the main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "window/window_services.h"

namespace quillon {

// Whole points, origin at the top-left of the screen, y growing downward.
struct WindowRect {
  std::int64_t top = 0;
  std::int64_t left = 0;
  std::int64_t bottom = 0;
  std::int64_t right = 0;

  friend bool operator==(const WindowRect&, const WindowRect&) = default;
};

struct ScreenDimensions {
  std::int64_t width = 0;
  std::int64_t height = 0;

  friend bool operator==(const ScreenDimensions&, const ScreenDimensions&) = default;
};

class ApplicationWindow {
 public:
  ApplicationWindow() = delete;

  // The rectangle of the front-most on-screen window of `processId` that has
  // bounds; absent when there is none or no window list (then one line is
  // printed).
  static std::optional<WindowRect> getWindowRect(const WindowServices& services, std::int64_t processId);

  // Carries out `command` (a show-command code) on the host's own window
  // numbered `windowHandle`; true when the window exists and the code acts.
  static bool showWindow(const WindowServices& services, std::int64_t windowHandle, std::int64_t command);

  // The main screen's full size; zeros without a main screen.
  static ScreenDimensions getScreenBounds(const WindowServices& services);
  // The main screen's size without panels and docks; absent without a main screen.
  static std::optional<ScreenDimensions> getScreenWorkingAreaDimensions(const WindowServices& services);

  // Queues the construction of a NonModalAlertWindow on the main queue and
  // returns at once.
  static void showAlert(const WindowServices& services, std::string title, std::string message,
                        std::int64_t timeout);
};

}  // namespace quillon
