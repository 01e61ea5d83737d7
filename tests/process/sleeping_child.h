// SleepingChild: /bin/sleep started from a link that the test names, so that
// the process carries that name; a ChildProcess, always reaped. The link's
// directory goes away with the object.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace quillon::testing {

struct SleepLink {
  explicit SleepLink(const std::string& name) : linkPath(directory.path() + "/" + name) {
    std::filesystem::create_symlink("/bin/sleep", linkPath);
  }
  ScratchDirectory directory;
  std::string linkPath;
};

class SleepingChild : private SleepLink, public ChildProcess {
 public:
  explicit SleepingChild(const std::string& name, const std::vector<std::string>& arguments = {"1000"})
      : SleepLink(name), ChildProcess(linkPath, arguments, {}, "/dev/null", "/dev/null") {
    // posix_spawn may return while the kernel still sets up the new program,
    // before /proc shows its command line; the tests read the finished process.
    const std::string commandLine = "/proc/" + std::to_string(pid()) + "/cmdline";
    waitUntil([&] { return pid() <= 0 || std::ifstream(commandLine).peek() != EOF; }, std::chrono::seconds(10));
  }

  const std::string& path() const { return linkPath; }
  // Waits for the end; answers the exit status (128 + the signal for a killed child).
  int reap() { return waitExit(std::chrono::milliseconds(-1)).value_or(-1); }
};

}  // namespace quillon::testing
