// The windows of an X display in stacking order, front-most first, each as the
// client window that carries the application's properties (name, pid, state)
// and the top-level window that stands for it on the root.
//
// With an EWMH window manager that publishes _NET_CLIENT_LIST_STACKING, the
// order is that list's, read from the top, and each client is its own
// top-level: its frame is known from _NET_FRAME_EXTENTS. Without that list (no
// window manager, or one that does not publish it, such as Weston's XWayland
// window manager), the order is the root's children read from the top, and
// each child's client is found the ICCCM way: the child itself, or the first
// window below it that holds WM_STATE. A child with none below it (no window
// manager, override-redirect windows) is its own client.
//
// The questions of each step go out for all windows before any answer is
// awaited: a few round trips for the whole display, one more for each level
// that the search goes down.
#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace quillon {

struct StackedWindow {
  xcb_window_t client = 0;
  // The root's child that holds the client (its frame); the client itself when
  // the order came from the window manager's list.
  xcb_window_t topLevel = 0;
};

struct StackingAtoms {
  xcb_atom_t supportingWmCheck = 0;
  xcb_atom_t clientListStacking = 0;
  xcb_atom_t wmState = 0;
};

std::vector<StackedWindow> stackedWindowsFrontFirst(xcb_connection_t* connection, xcb_window_t root,
                                                    const StackingAtoms& atoms);

}  // namespace quillon
