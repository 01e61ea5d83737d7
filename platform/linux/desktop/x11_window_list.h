// X11WindowList: every viewable top-level window of every process on the X
// display, front-most first (x11_stacking.h: the window manager's stacking
// list, or the root's children with the client found below each frame).
// Minimised (_NET_WM_STATE_HIDDEN) and unmapped windows are not on screen.
//
// Each entry carries the owner's process id (the X Resource extension's client
// pid of the client window, which a client cannot falsify; _NET_WM_PID where
// the extension has no answer), the client's name (_NET_WM_NAME in UTF-8, else
// WM_NAME: Latin-1 as STRING, or COMPOUND_TEXT that stays in its initial
// Latin-1 sets, UTF-8 as UTF8_STRING; other text gives no name) and the bounds of the whole
// top-level in root coordinates, top-left origin, the window manager's frame
// included. Bounds are in points, as everything the window services answer:
// X counts device pixels, so they are divided by the device pixels per point
// that the toolkit uses (GDK's window scale, 2 under GDK_SCALE=2).
//
// Every call opens its own XCB connection to $DISPLAY and closes it before
// returning; nothing is kept, and neither Xlib nor GDK's connection is used,
// so the list may be read on any thread (the host reads it on its workers),
// and a display that goes away meanwhile gives no list instead of ending the
// process. No display (no scale to be had, or no connection): no list. The
// questions about all windows go out before any answer is awaited, so a
// desktop of many windows costs a few round trips, not several per window.
// Windows that vanish while the list is read are left out: their errors come
// back with the answers.
#pragma once

#include <functional>
#include <utility>

#include "platform/linux/desktop/gtk_desktop.h"
#include "platform/window_list.h"

namespace quillon {

class X11WindowList final : public WindowList {
 public:
  // Device pixels per point, or nothing without a display; called on the
  // thread that reads the list.
  using PixelsPerPoint = std::function<std::optional<int>()>;

  explicit X11WindowList(PixelsPerPoint pixelsPerPoint = lastWindowScale)
      : pixelsPerPoint_(std::move(pixelsPerPoint)) {}

  std::optional<std::vector<WindowListEntry>> onScreenWindows() override;

 private:
  PixelsPerPoint pixelsPerPoint_;
};

}  // namespace quillon
