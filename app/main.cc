// The host's entry: hands control to the application's main loop and exits
// with its result.
#include <csignal>

#include "app/host_application.h"
#include "base/printed_lines.h"

int main() {
  // Diagnostics go to standard output, whose reader may be gone (a launcher
  // that exited, `quillon-host | head -1`): a write there fails and the line is
  // lost, the host goes on. Decided before anything can write; the tools the
  // host runs get the default disposition back.
  std::signal(SIGPIPE, SIG_IGN);
  const int status = quillon::HostApplication().run();
  // The counts of lines held back in the last second come last.
  quillon::standardErrorLines().flush();
  quillon::standardOutputLines().flush();
  return status;
}
