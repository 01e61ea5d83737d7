// HostWindows: the host application's own top-level windows, and the few
// actions the window services take on them. Windows of other processes are never
// reachable through it. Used on the main thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/frame_rect.h"

namespace quillon {

// A handle to one of the host's windows. Dropping the handle leaves the window
// as it is: the window system owns the window, the handle only borrows it.
class HostWindow {
 public:
  virtual ~HostWindow() = default;

  // The window number a `WindowHandle` carries.
  virtual std::int64_t number() const = 0;
  // The whole window, its title bar included.
  virtual FrameRect frame() const = 0;

  // Takes the window off the screen.
  virtual void hide() = 0;
  // Makes the window key and brings it to the front, de-minimising it if needed.
  virtual void present() = 0;
  // Minimises the window.
  virtual void minimise() = 0;
  // Moves and resizes the whole window, title bar included, and redraws it.
  virtual void setFrame(const FrameRect& frame) = 0;
};

class HostWindows {
 public:
  virtual ~HostWindows() = default;
  // Every top-level window of the host, in the window system's order.
  virtual std::vector<std::unique_ptr<HostWindow>> windows() = 0;
  // The host's window that has the keyboard focus, or nullptr.
  virtual std::unique_ptr<HostWindow> keyWindow() = 0;
};

}  // namespace quillon
