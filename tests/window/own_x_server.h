// An Xvfb of the test's own, on a display number it picks itself (-displayfd),
// without a window manager: for the window list on a bare X server, and for a
// display the fault suite ends under the host.
#pragma once

#include <csignal>
#include <string>

#include "tests/support/child_process.h"

namespace quillon::testing {

class OwnXServer {
 public:
  // ":N" once the server serves it; "" when it does not start.
  std::string name() {
    std::string number;
    waitUntil([&] { return (number = readFile(numberFile_)).ends_with('\n') || !server_.running(); },
              std::chrono::seconds(20));
    return number.ends_with('\n') ? ":" + number.substr(0, number.size() - 1) : "";
  }

  void end() {
    server_.signal(SIGTERM);
    server_.waitExit(std::chrono::seconds(20));
  }

 private:
  ScratchDirectory scratch_;
  std::string numberFile_ = scratch_.path() + "/display-number";
  ChildProcess server_{"/usr/bin/Xvfb", {"-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp", "-noreset"},
                       {}, numberFile_, "/dev/null"};
};

}  // namespace quillon::testing
