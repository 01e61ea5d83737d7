#include "platform/linux/posix_tool_runner.h"

#include <dirent.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

namespace quillon {
namespace {

std::string text(const ToolRun& run) { return std::string(run.output.begin(), run.output.end()); }

int openDescriptorCount() {
  int count = 0;
  DIR* directory = ::opendir("/proc/self/fd");
  while (::readdir(directory) != nullptr) ++count;
  ::closedir(directory);
  return count;
}

struct RunCase {
  const char* name;
  std::string executable;
  std::vector<std::string> arguments;
  ToolRunner::Streams streams;
  bool started;
  std::string output;
  bool exitedWithZero;
};

void PrintTo(const RunCase& runCase, std::ostream* out) { *out << runCase.name; }

class PosixToolRunnerTest : public testing::TestWithParam<RunCase> {};

TEST_P(PosixToolRunnerTest, RunsExactlyWhatItIsGiven) {
  const RunCase& expected = GetParam();
  int descriptorsBefore = openDescriptorCount();

  ToolRun run = PosixToolRunner().run(expected.executable, expected.arguments, expected.streams);

  EXPECT_EQ(run.started, expected.started) << run.startError;
  EXPECT_EQ(text(run), expected.output);
  EXPECT_EQ(run.exitedWithZero(), expected.exitedWithZero);
  EXPECT_EQ(openDescriptorCount(), descriptorsBefore);
  errno = 0;
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child was left to reap";
  EXPECT_EQ(errno, ECHILD);
}

const std::string kBothStreams = "echo out; echo err >&2";

INSTANTIATE_TEST_SUITE_P(
    Runs, PosixToolRunnerTest,
    testing::Values(
        RunCase{"ArgumentsAreNotReadByAShell", "/bin/echo", {"$HOME", "two words", "*"},
                ToolRunner::Streams::kOutput, true, "$HOME two words *\n", true},
        RunCase{"NoArguments", "/bin/echo", {}, ToolRunner::Streams::kOutput, true, "\n", true},
        RunCase{"ErrorStaysOutOfThePipe", "/bin/sh", {"-c", kBothStreams}, ToolRunner::Streams::kOutput, true,
                "out\n", true},
        RunCase{"ErrorJoinsThePipe", "/bin/sh", {"-c", kBothStreams}, ToolRunner::Streams::kOutputAndError, true,
                "out\nerr\n", true},
        RunCase{"FailingToolStillReaped", "/bin/sh", {"-c", "echo partial; exit 3"}, ToolRunner::Streams::kOutput,
                true, "partial\n", false},
        RunCase{"MissingExecutable", "/nonexistent/tool", {}, ToolRunner::Streams::kOutput, false, "", false},
        RunCase{"RelativePathIsNotSearched", "echo", {"x"}, ToolRunner::Streams::kOutput, false, "", false}),
    [](const testing::TestParamInfo<RunCase>& runInfo) { return std::string(runInfo.param.name); });

TEST(PosixToolRunner, ReadsOutputLargerThanThePipeToItsEnd) {
  ToolRun run = PosixToolRunner().run("/usr/bin/head", {"-c", "3000000", "/dev/zero"}, ToolRunner::Streams::kOutput);
  EXPECT_TRUE(run.exitedWithZero());
  EXPECT_EQ(run.output.size(), 3000000u);
}

TEST(PosixToolRunner, StartErrorNamesTheCause) {
  ToolRun run = PosixToolRunner().run("/nonexistent/tool", {}, ToolRunner::Streams::kOutput);
  EXPECT_NE(run.startError.find("No such file or directory"), std::string::npos) << run.startError;
}

}  // namespace
}  // namespace quillon
