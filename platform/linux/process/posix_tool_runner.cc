#include "platform/linux/process/posix_tool_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>

#include "base/printed_lines.h"
#include "base/unique_fd.h"

extern char** environ;

namespace quillon {
namespace {

constexpr const char* kEndOfRuns = "the host is ending";

// The file actions and attributes of one spawn, destroyed with the object.
class SpawnSetup {
 public:
  SpawnSetup(int pipeWriteEnd, ToolRunner::Streams streams) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
    posix_spawn_file_actions_adddup2(&actions_, pipeWriteEnd, STDOUT_FILENO);
    if (streams == ToolRunner::Streams::kOutputAndError) {
      posix_spawn_file_actions_adddup2(&actions_, pipeWriteEnd, STDERR_FILENO);
    }
    // Whatever the host holds open, on whichever thread it was opened and
    // with whatever flags, stays with the host.
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    // A host that blocks or ignores signals (SIGPIPE, for one) must not hand
    // that on to the tools it runs.
    sigset_t none;
    sigemptyset(&none);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    // A group of its own, so that the tool and what it starts are killed together.
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;
  ~SpawnSetup() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

// argv for the child: the executable's path, then the arguments, then null.
// The strings are copies because exec takes them as mutable.
class ArgumentVector {
 public:
  ArgumentVector(const std::string& executable, const std::vector<std::string>& arguments) : strings_{executable} {
    strings_.insert(strings_.end(), arguments.begin(), arguments.end());
    for (std::string& text : strings_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
  }

  char* const* get() { return pointers_.data(); }

 private:
  std::vector<std::string> strings_;
  std::vector<char*> pointers_;
};

// envp for the child: the host's variables that the changes do not name, then
// the ones they set. Without changes the host's own environment goes as it is.
class EnvironmentBlock {
 public:
  EnvironmentBlock(char** inherited, const EnvironmentChanges& changes) : inherited_(inherited) {
    if (changes.empty()) return;
    for (char** entry = inherited; *entry != nullptr; ++entry) {
      if (!namedIn(changes, nameOf(*entry))) pointers_.push_back(*entry);
    }
    for (const auto& [name, value] : changes.set) strings_.push_back(name + "=" + value);
    for (std::string& text : strings_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
  }

  char* const* get() { return pointers_.empty() ? inherited_ : pointers_.data(); }

 private:
  static std::string_view nameOf(std::string_view entry) { return entry.substr(0, entry.find('=')); }
  static bool namedIn(const EnvironmentChanges& changes, std::string_view name) {
    return std::ranges::find(changes.removed, name) != changes.removed.end() ||
           std::ranges::any_of(changes.set, [name](const auto& variable) { return variable.first == name; });
  }

  char** inherited_;
  std::vector<std::string> strings_;
  std::vector<char*> pointers_;
};

// How long a killed child has to die before it is left to a reaper thread.
constexpr std::chrono::seconds kDyingTime{1};

using Clock = std::chrono::steady_clock;

int millisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, INT_MAX));
}

// Reads what the pipe holds now; false at its end (or a read error).
bool readAvailable(int fd, std::vector<std::uint8_t>& output) {
  std::array<std::uint8_t, 65536> buffer;
  for (;;) {
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    if (count > 0) {
      output.insert(output.end(), buffer.begin(), buffer.begin() + count);
      return true;
    }
    if (count == 0 || errno != EINTR) return false;
  }
}

// A started child, watched through a pidfd: nothing to watch when the kernel
// reaped it behind our back (SIGCHLD ignored), or when no descriptor was to
// be had.
class Child {
 public:
  explicit Child(pid_t pid)
      : pid_(pid), watch_(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))), watchError_(watched() ? 0 : errno) {}

  int watch() const { return watch_.get(); }
  bool watched() const { return watch_.valid(); }
  // Why it could not be watched, when it is there to be watched.
  std::optional<int> watchFailure() const {
    if (watched() || watchError_ == ESRCH) return std::nullopt;
    return watchError_;
  }

  // Its group: the child and whatever it started there. While the child is
  // not reaped, the group's id cannot pass to another process.
  void killGroup() const {
    if (watched()) ::kill(-pid_, SIGKILL);
  }

  // The wait status, or -1 when it is lost: reaped behind our back, or still
  // dying after kDyingTime, in which case a thread of its own reaps it later.
  int reap() {
    if (watched() && !readableWithin(watch(), kDyingTime)) {
      reapLater();
      return -1;
    }
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0) {
      if (errno != EINTR) return -1;
    }
    return status;
  }

 private:
  static bool readableWithin(int fd, std::chrono::milliseconds time) {
    const auto deadline = Clock::now() + time;
    pollfd ended{fd, POLLIN, 0};
    int ready;
    while ((ready = poll(&ended, 1, millisecondsUntil(deadline))) < 0 && errno == EINTR) {
    }
    return ready > 0;
  }

  void reapLater() const {
    try {
      std::thread([pid = pid_] {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
      }).detach();
    } catch (const std::system_error&) {
      // No thread to be had: it stays a zombie until the host ends.
    }
  }

  pid_t pid_;
  UniqueFd watch_;
  int watchError_;
};

enum class Ending { kEnded, kTimeLimit, kRunsEnded };

// Reads the pipe until its end and waits for the child to end, whichever comes
// first, until the deadline or the end of runs. What the child leaves behind in
// its group when it ends is killed, so that it cannot hold the pipe open.
Ending collect(int pipe, Child& child, int endOfRuns, Clock::time_point deadline, std::vector<std::uint8_t>& output) {
  bool pipeOpen = true;
  bool childEnded = !child.watched();
  while (pipeOpen || !childEnded) {
    std::array<pollfd, 3> watched{};
    nfds_t count = 0;
    watched[count++] = pollfd{endOfRuns, POLLIN, 0};
    const nfds_t pipeAt = count;
    if (pipeOpen) watched[count++] = pollfd{pipe, POLLIN, 0};
    const nfds_t childAt = count;
    if (!childEnded) watched[count++] = pollfd{child.watch(), POLLIN, 0};
    const int ready = poll(watched.data(), count, millisecondsUntil(deadline));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return Ending::kTimeLimit;
    if (watched[0].revents != 0) return Ending::kRunsEnded;
    if (pipeOpen && watched[pipeAt].revents != 0) pipeOpen = readAvailable(pipe, output);
    if (!childEnded && watched[childAt].revents != 0) {
      childEnded = true;
      child.killGroup();
    }
  }
  return Ending::kEnded;
}

std::string durationText(std::chrono::milliseconds time) {
  if (time.count() % 1000 == 0) return std::to_string(time.count() / 1000) + " s";
  return std::to_string(time.count()) + " ms";
}

// The command line as one line of text: control characters (a line break in a
// path, for one) are shown as "?".
std::string commandLineText(const std::string& executable, const std::vector<std::string>& arguments) {
  std::string text = executable;
  for (const std::string& argument : arguments) text += " " + argument;
  std::replace_if(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return text;
}

void reportTimeLimit(const std::string& executable, const std::vector<std::string>& arguments,
                     std::chrono::milliseconds timeLimit) {
  standardErrorLines().print("tools past their time limit", "quillon-host: " + commandLineText(executable, arguments) +
                                                                " did not end within its time limit of " +
                                                                durationText(timeLimit) + "; it was killed");
}

}  // namespace

PosixToolRunner::PosixToolRunner() : endOfRuns_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void PosixToolRunner::endAllRuns() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    for (const pid_t child : running_) ::kill(-child, SIGKILL);
  }
  // Never read, so it stays readable for every run from now on.
  if (endOfRuns_.valid()) ::eventfd_write(endOfRuns_.get(), 1);
}

void PosixToolRunner::track(pid_t child) {
  const std::lock_guard lock(mutex_);
  // Started while the runs were being ended.
  if (ended_) ::kill(-child, SIGKILL);
  running_.push_back(child);
}

void PosixToolRunner::untrack(pid_t child) {
  const std::lock_guard lock(mutex_);
  std::erase(running_, child);
}

Expected<ToolRun> PosixToolRunner::runTool(const std::string& executable, const std::vector<std::string>& arguments,
                                           Streams streams, std::chrono::milliseconds timeLimit,
                                           const EnvironmentChanges& environment) {
  if (ended_) return Failure{kEndOfRuns};
  const auto deadline = Clock::now() + timeLimit;
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return Failure{std::strerror(errno)};
  UniqueFd readEnd(ends[0]);
  UniqueFd writeEnd(ends[1]);

  pid_t pid = 0;
  {
    SpawnSetup setup(writeEnd.get(), streams);
    ArgumentVector argv(executable, arguments);
    EnvironmentBlock envp(environ, environment);
    const int error =
        posix_spawn(&pid, executable.c_str(), setup.actions(), setup.attributes(), argv.get(), envp.get());
    if (error != 0) return Failure{std::strerror(error)};
  }
  // Only the child may hold the write end now, so the read ends when it does.
  writeEnd.reset();
  track(pid);
  Child child(pid);
  if (const auto failure = child.watchFailure()) {
    // Not reaped, so its group is still its own.
    ::kill(-pid, SIGKILL);
    untrack(pid);
    child.reap();
    return Failure{std::strerror(*failure)};
  }
  ToolRun result;
  Ending ending = collect(readEnd.get(), child, endOfRuns_.get(), deadline, result.output);
  // endAllRuns() kills the group before its eventfd is seen: a run it ended may look finished.
  if (ended_) ending = Ending::kRunsEnded;
  child.killGroup();
  readEnd.reset();
  untrack(pid);
  result.waitStatus = child.reap();
  switch (ending) {
    case Ending::kEnded:
      return result;
    case Ending::kTimeLimit:
      reportTimeLimit(executable, arguments, timeLimit);
      return Failure{"did not end within " + durationText(timeLimit)};
    case Ending::kRunsEnded:
      return Failure{kEndOfRuns};
  }
  return Failure{kEndOfRuns};
}

}  // namespace quillon
