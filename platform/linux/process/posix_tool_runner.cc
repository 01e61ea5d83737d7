#include "platform/linux/process/posix_tool_runner.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "base/unique_fd.h"

extern char** environ;

namespace quillon {
namespace {

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
    // A host that blocks or ignores signals (SIGPIPE, for one) must not hand
    // that on to the tools it runs.
    sigset_t none;
    sigemptyset(&none);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
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

void readToEnd(int fd, std::vector<std::uint8_t>& output) {
  std::array<std::uint8_t, 65536> buffer;
  for (;;) {
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    if (count > 0) {
      output.insert(output.end(), buffer.begin(), buffer.begin() + count);
    } else if (count == 0 || errno != EINTR) {
      return;
    }
  }
}

int reap(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    // ECHILD: someone set SIGCHLD to be ignored and the kernel reaped the
    // child itself; its status is lost, which must not read as success.
    if (errno != EINTR) return -1;
  }
  return status;
}

}  // namespace

Expected<ToolRun> PosixToolRunner::runTool(const std::string& executable, const std::vector<std::string>& arguments,
                                           Streams streams, const EnvironmentChanges& environment) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return Failure{std::strerror(errno)};
  UniqueFd readEnd(ends[0]);
  UniqueFd writeEnd(ends[1]);

  pid_t child = 0;
  {
    SpawnSetup setup(writeEnd.get(), streams);
    ArgumentVector argv(executable, arguments);
    EnvironmentBlock envp(environ, environment);
    const int error =
        posix_spawn(&child, executable.c_str(), setup.actions(), setup.attributes(), argv.get(), envp.get());
    if (error != 0) return Failure{std::strerror(error)};
  }
  ToolRun result;
  // Only the child may hold the write end now, so the read ends when it does.
  writeEnd.reset();
  readToEnd(readEnd.get(), result.output);
  readEnd.reset();
  result.waitStatus = reap(child);
  return result;
}

}  // namespace quillon
