#include "platform/linux/shell/display_loss.h"

#include <X11/Xlib.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

namespace quillon {

namespace {

std::function<void()>& linkCloser() {
  static std::function<void()> closeLink;
  return closeLink;
}

// Xlib ends the process if an I/O error handler returns; this one ends it itself.
[[noreturn]] int onDisplayLost(Display* display) {
  std::fprintf(stderr, "quillon-host: lost the connection to the display %s; ending\n", DisplayString(display));
  if (const auto& closeLink = linkCloser()) closeLink();
  std::fflush(stdout);
  std::fflush(stderr);
  // Not exit(): the windows' destructors and GTK's would talk to the display that is gone.
  ::_exit(0);
}

}  // namespace

void endOnDisplayLoss(std::function<void()> closeLink) {
  linkCloser() = std::move(closeLink);
  XSetIOErrorHandler(onDisplayLost);
}

}  // namespace quillon
