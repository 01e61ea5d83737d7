#include "platform/linux/shell/display_loss.h"

#include <X11/Xlib.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "base/printed_lines.h"

namespace quillon {

namespace {

std::function<void()>& linkCloser() {
  static std::function<void()> closeLink;
  return closeLink;
}

// Xlib ends the process if an I/O error handler returns; this one ends it itself.
[[noreturn]] int onDisplayLost(Display* display) {
  standardErrorLines().print("lost displays", std::string("quillon-host: lost the connection to the display ") +
                                                  DisplayString(display) + "; ending");
  if (const auto& closeLink = linkCloser()) closeLink();
  standardErrorLines().flush();
  standardOutputLines().flush();
  // Not exit(): the windows' destructors and GTK's would talk to the display that is gone.
  ::_exit(0);
}

}  // namespace

void endOnDisplayLoss(std::function<void()> closeLink) {
  linkCloser() = std::move(closeLink);
  XSetIOErrorHandler(onDisplayLost);
}

}  // namespace quillon
