// WindowList: the on-screen windows of every process, front-most first.
// Shared by the window rectangle and the main-window title lookup, which read
// it on worker threads: an implementation may be called from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillon {

// A window's bounds in the list's coordinate space: points, origin at the
// top-left of the main screen, y growing downward. A coordinate the window
// system did not give is absent.
struct WindowBounds {
  std::optional<double> x;
  std::optional<double> y;
  std::optional<double> width;
  std::optional<double> height;
};

struct WindowListEntry {
  std::optional<std::int64_t> ownerProcessId;
  std::optional<std::string> name;
  std::optional<WindowBounds> bounds;
};

class WindowList {
 public:
  virtual ~WindowList() = default;
  // The on-screen windows, front-most first; nothing when no list can be had
  // (no window system, or it would not answer).
  virtual std::optional<std::vector<WindowListEntry>> onScreenWindows() = 0;
};

}  // namespace quillon
