// X11WindowList: every viewable top-level window of every process on the X
// display, front-most first. With an EWMH window manager the order is its
// stacking list (_NET_CLIENT_LIST_STACKING read from the top); without one, the
// root window's children in XQueryTree order read from the top. Minimised
// (_NET_WM_STATE_HIDDEN) and unmapped windows are not on screen.
//
// Each entry carries the owner's process id (the X Resource extension's client
// pid, which a client cannot falsify; _NET_WM_PID where the extension has no
// answer), the name (_NET_WM_NAME in UTF-8, else WM_NAME through the text
// property conversion) and the bounds in root coordinates, top-left origin,
// with the window manager's frame (_NET_FRAME_EXTENTS) included.
//
// Every call opens its own connection to $DISPLAY and closes it before
// returning; nothing is kept. No display: no list. The questions about all
// windows go out over Xlib's XCB transport before any answer is awaited, so a
// desktop of many windows costs a few round trips, not several per window.
// Windows that vanish while the list is read are left out: their errors come
// back with the answers, never through Xlib's process-wide error handler.
#pragma once

#include "platform/window_list.h"

namespace quillon {

class X11WindowList final : public WindowList {
 public:
  std::optional<std::vector<WindowListEntry>> onScreenWindows() override;
};

}  // namespace quillon
