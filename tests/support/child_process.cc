#include "tests/support/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <sstream>

extern char** environ;

namespace quillon::testing {

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (auto& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const Environment& environment, const std::string& outputFile,
                           const std::string& errorFile) {
  std::vector<std::string> argumentTexts{program}, environmentTexts;
  argumentTexts.insert(argumentTexts.end(), arguments.begin(), arguments.end());
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text(*entry);
    if (!environment.contains(text.substr(0, text.find('=')))) environmentTexts.push_back(text);
  }
  for (const auto& [name, value] : environment) {
    if (value) environmentTexts.push_back(name + "=" + *value);
  }
  auto argv = pointers(argumentTexts);
  auto envp = pointers(environmentTexts);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), envp.data()) != 0) pid_ = -1;
  posix_spawn_file_actions_destroy(&actions);
}

ChildProcess::~ChildProcess() {
  signal(SIGKILL);
  waitExit(std::chrono::milliseconds(-1));
}

std::optional<int> ChildProcess::waitExit(std::chrono::milliseconds timeout) {
  const auto reaped = [this](int options) {
    int waitStatus = 0;
    pid_t result;
    do {
      result = ::waitpid(pid_, &waitStatus, options);
    } while (result < 0 && errno == EINTR);
    if (result == pid_) status_ = WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
    return status_.has_value();
  };
  if (status_ || pid_ <= 0) return status_;
  if (timeout.count() < 0) reaped(0);
  else waitUntil([&] { return reaped(WNOHANG); }, timeout);
  return status_;
}

void ChildProcess::signal(int number) {
  if (running()) ::kill(pid_, number);
}

ToolRun runTool(const std::string& program, const std::vector<std::string>& arguments,
                const ChildProcess::Environment& environment, const std::string& scratchDirectory) {
  const std::string output = scratchDirectory + "/tool.out", errors = scratchDirectory + "/tool.err";
  ToolRun run;
  {
    ChildProcess tool(program, arguments, environment, output, errors);
    run.status = tool.waitExit(std::chrono::seconds(20)).value_or(-1);
  }
  run.output = readFile(output);
  run.errorOutput = readFile(errors);
  return run;
}

std::string readFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

}  // namespace quillon::testing
