// ChildProcess: a program started for a test, with its own environment and its
// standard output and error written to files; and a test's scratch directory.
//
// Contract: the child is always reaped: the destructor kills one that is still
// running and waits for it.
#pragma once

#include <stdlib.h>
#include <sys/types.h>
#include <time.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace quillon::testing {

class ChildProcess {
 public:
  // `environment` holds the variables to set; a variable mapped to nothing is
  // removed from the test's own environment.
  using Environment = std::map<std::string, std::optional<std::string>>;

  ChildProcess(const std::string& program, const std::vector<std::string>& arguments, const Environment& environment,
               const std::string& outputFile, const std::string& errorFile);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  bool started() const { return pid_ > 0; }
  pid_t pid() const { return pid_; }
  // The exit status (128 + the signal number for a killed child) once it has
  // ended, or nothing when it still runs at the deadline (a negative one: none).
  std::optional<int> waitExit(std::chrono::milliseconds timeout);
  bool running() { return pid_ > 0 && !waitExit(std::chrono::milliseconds(0)); }
  void signal(int number);

 private:
  pid_t pid_ = -1;
  std::optional<int> status_;
};

// Runs `program` to its end (at most 20 s) and answers its exit status and output.
struct ToolRun {
  int status = -1;
  std::string output;
  std::string errorOutput;
};
ToolRun runTool(const std::string& program, const std::vector<std::string>& arguments,
                const ChildProcess::Environment& environment, const std::string& scratchDirectory);

std::string readFile(const std::string& path);

// A new directory under /tmp (short enough for socket paths in it), removed
// with everything in it when the object goes.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    if (::mkdtemp(path_.data()) == nullptr) throw std::system_error(errno, std::generic_category(), path_);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }

 private:
  std::string path_ = "/tmp/quillon-test-XXXXXX";
};

// Polls `condition` until it holds or the deadline passes.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    struct timespec pause{0, 5'000'000};
    nanosleep(&pause, nullptr);
  }
  return true;
}

}  // namespace quillon::testing
