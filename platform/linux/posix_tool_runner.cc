#include "platform/linux/posix_tool_runner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "embedding/unique_fd.h"

extern char** environ;

namespace quillon {
namespace {

// posix_spawn's own description of its state, freed however run() leaves.
class SpawnFileActions {
 public:
  SpawnFileActions() { posix_spawn_file_actions_init(&actions_); }
  SpawnFileActions(const SpawnFileActions&) = delete;
  SpawnFileActions& operator=(const SpawnFileActions&) = delete;
  ~SpawnFileActions() { posix_spawn_file_actions_destroy(&actions_); }

  int redirect(int from, int to) { return posix_spawn_file_actions_adddup2(&actions_, from, to); }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

ToolRun notStarted(std::string reason) {
  ToolRun run;
  run.startError = std::move(reason);
  return run;
}

std::string describeError(const char* what, int error) { return std::string(what) + ": " + std::strerror(error); }

void readToEnd(int fd, std::vector<std::uint8_t>& output) {
  std::array<std::uint8_t, 16384> buffer{};
  for (;;) {
    ssize_t count = ::read(fd, buffer.data(), buffer.size());
    if (count > 0) {
      output.insert(output.end(), buffer.begin(), buffer.begin() + count);
    } else if (count == 0 || errno != EINTR) {
      return;
    }
  }
}

int reap(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

ToolRun PosixToolRunner::run(const std::string& executable, const std::vector<std::string>& arguments,
                             Streams streams) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return notStarted(describeError("pipe", errno));
  UniqueFd readEnd(ends[0]);
  UniqueFd writeEnd(ends[1]);

  SpawnFileActions actions;
  int actionError = actions.redirect(writeEnd.get(), STDOUT_FILENO);
  if (actionError == 0 && streams == Streams::kOutputAndError) {
    actionError = actions.redirect(writeEnd.get(), STDERR_FILENO);
  }
  if (actionError != 0) return notStarted(describeError("posix_spawn_file_actions", actionError));

  std::vector<char*> argv;
  argv.reserve(arguments.size() + 2);
  argv.push_back(const_cast<char*>(executable.c_str()));
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  pid_t child = 0;
  int spawnError = ::posix_spawn(&child, executable.c_str(), actions.get(), nullptr, argv.data(), environ);
  // The child holds its own copy now; ours must go, or the read below never ends.
  writeEnd.reset();
  if (spawnError != 0) return notStarted(describeError(executable.c_str(), spawnError));

  ToolRun run;
  run.started = true;
  readToEnd(readEnd.get(), run.output);
  run.waitStatus = reap(child);
  return run;
}

}  // namespace quillon
