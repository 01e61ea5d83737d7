// The X display going away under the running host (the X server ends, the
// session is logged out from under it, the connection breaks).
//
// The interface's own windows are on the same display and go with it, and a
// host left running without windows would keep the socket, so the next launch
// would talk to a host that can show nothing. So the host ends: one line on
// standard error naming the display, `closeLink` (every interface connection
// closed, the socket file removed), then exit status 0. GDK's own handler
// would end the process with status 1 and leave the socket file behind.
//
// Contract: call once on the main thread, after GTK has connected to the
// display (it installs Xlib's process-wide I/O error handler, replacing
// GDK's). Xlib calls the handler on the thread whose request failed, inside
// Xlib; it never returns from it, so `closeLink` must touch nothing of X or
// GTK and must not wait.
#pragma once

#include <functional>

namespace quillon {

void endOnDisplayLoss(std::function<void()> closeLink);

}  // namespace quillon
