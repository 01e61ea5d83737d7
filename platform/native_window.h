// NativeWindow: one top-level window of the desktop, as the application shell
// drives it. The shell owns it; a host without a display has none.
//
// Contract: main thread only. A new window is hidden until show(), and has its
// window number from the start. Frames are in points (the toolkit's logical
// pixels) with the origin at the top left of the screen and cover the window's
// own area, without anything the window manager adds around it. Hidden and
// shown again, however it was hidden and whoever moved it, the window stands
// where it stood when it was hidden.
#pragma once

#include <cstdint>
#include <string>

namespace quillon {

struct WindowFrame {
  std::int64_t x = 0;
  std::int64_t y = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;

  friend bool operator==(const WindowFrame&, const WindowFrame&) = default;
};

class NativeWindow {
 public:
  virtual ~NativeWindow() = default;

  // The number a `WindowHandle` carries for this window.
  virtual std::int64_t number() const = 0;

  virtual WindowFrame frame() const = 0;
  virtual void setFrame(const WindowFrame& frame) = 0;

  // Takes the window manager's frame off the window, and with it the title
  // bar's close, minimise and maximise buttons: the interface draws its own.
  virtual void useCustomFrame() = 0;

  virtual void show() = 0;
  virtual void hide() = 0;
  virtual bool isVisible() const = 0;

  // For another launch of the application, whose desktop startup notification
  // is `startupId` (empty when it has none): raises the shown window, restores
  // it when minimised and gives it the keyboard focus, and ends that launch's
  // startup notification.
  virtual void bringForward(const std::string& startupId) = 0;
  // Ends another launch's startup notification without showing anything.
  virtual void endStartupNotification(const std::string& startupId) = 0;
};

}  // namespace quillon
