// SleepingChild: a real process for the integration tests, started from a
// link to /bin/sleep so that it can carry a name of the test's choosing.
//
// Contract: the child is always reaped; the destructor kills one that still
// runs. The link's directory goes away with the object.
#pragma once

#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace quillon::testing {

class SleepingChild {
 public:
  // Runs `/bin/sleep` as `name` with `arguments` (a long sleep by default).
  explicit SleepingChild(const std::string& name, std::vector<std::string> arguments = {"1000"}) {
    std::string pattern = (std::filesystem::temp_directory_path() / "quillon-process-XXXXXX").native();
    directory_ = ::mkdtemp(pattern.data());
    path_ = directory_ + "/" + name;
    std::filesystem::create_symlink("/bin/sleep", path_);
    arguments.insert(arguments.begin(), path_);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    if (::posix_spawn(&pid_, path_.c_str(), nullptr, nullptr, argv.data(), environ) != 0) pid_ = -1;
    waitForCommandLine();
  }
  SleepingChild(const SleepingChild&) = delete;
  SleepingChild& operator=(const SleepingChild&) = delete;
  ~SleepingChild() {
    if (pid_ > 0 && !reaped_) {
      ::kill(pid_, SIGKILL);
      reap();
    }
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  pid_t pid() const { return pid_; }
  const std::string& path() const { return path_; }

  // posix_spawn may return while the kernel still sets up the new program,
  // before /proc shows its command line; the tests read the finished process.
  void waitForCommandLine() const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    const std::string commandLine = "/proc/" + std::to_string(pid_) + "/cmdline";
    while (pid_ > 0 && std::chrono::steady_clock::now() < deadline) {
      std::ifstream file(commandLine);
      if (file.peek() != std::ifstream::traits_type::eof()) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  // Waits for the child to end; answers the signal that ended it, or 0.
  int reap() {
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }

 private:
  std::string directory_;
  std::string path_;
  pid_t pid_ = -1;
  bool reaped_ = false;
};

}  // namespace quillon::testing
