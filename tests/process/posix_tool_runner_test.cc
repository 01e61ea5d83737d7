#include "platform/linux/posix_tool_runner.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <cstdlib>
#include <string>

#include "tests/process/descriptor_census.h"

namespace quillon {
namespace {

using Streams = ToolRunner::Streams;

std::string text(const ToolRun& run) { return std::string(run.output.begin(), run.output.end()); }

TEST(PosixToolRunnerTest, PassesTheArgumentsExactlyWithoutAShell) {
  PosixToolRunner runner;
  const ToolRun run = runner.run("/usr/bin/printf", {"[%s]", "two words", "", "$HOME", "*", "a;b"}, Streams::kOutput);
  ASSERT_TRUE(run.started);
  EXPECT_EQ(text(run), "[two words][][$HOME][*][a;b]");
  EXPECT_TRUE(run.exitedWithZero());
}

TEST(PosixToolRunnerTest, ReportsAnExecutableThatCannotBeStarted) {
  PosixToolRunner runner;
  const ToolRun run = runner.run("/nonexistent/tool", {}, Streams::kOutput);
  EXPECT_FALSE(run.started);
  EXPECT_FALSE(run.startError.empty());
  EXPECT_FALSE(run.exitedWithZero());
  EXPECT_TRUE(run.output.empty());
  EXPECT_TRUE(testing::hasNoChildren());
}

TEST(PosixToolRunnerTest, DoesNotSearchThePathForARelativeName) {
  PosixToolRunner runner;
  EXPECT_FALSE(runner.run("true", {}, Streams::kOutput).started);
}

struct ExitCase {
  std::string script;
  bool zero;
  int exitCode;
};

TEST(PosixToolRunnerTest, GivesTheExitStatus) {
  const ExitCase cases[] = {{"exit 0", true, 0}, {"exit 1", false, 1}, {"exit 3", false, 3}};
  PosixToolRunner runner;
  for (const ExitCase& c : cases) {
    SCOPED_TRACE(c.script);
    const ToolRun run = runner.run("/bin/sh", {"-c", c.script}, Streams::kOutput);
    ASSERT_TRUE(run.started);
    EXPECT_EQ(run.exitedWithZero(), c.zero);
    ASSERT_TRUE(WIFEXITED(run.waitStatus));
    EXPECT_EQ(WEXITSTATUS(run.waitStatus), c.exitCode);
  }
}

TEST(PosixToolRunnerTest, AKilledToolDidNotExitWithZero) {
  PosixToolRunner runner;
  const ToolRun run = runner.run("/bin/sh", {"-c", "kill -9 $$"}, Streams::kOutput);
  ASSERT_TRUE(run.started);
  EXPECT_TRUE(WIFSIGNALED(run.waitStatus));
  EXPECT_FALSE(run.exitedWithZero());
}

TEST(PosixToolRunnerTest, MergesStandardErrorOnlyWhenAsked) {
  PosixToolRunner runner;
  const std::vector<std::string> arguments{"-c", "echo out; echo err >&2"};
  EXPECT_EQ(text(runner.run("/bin/sh", arguments, Streams::kOutputAndError)), "out\nerr\n");
  EXPECT_EQ(text(runner.run("/bin/sh", arguments, Streams::kOutput)), "out\n");
}

TEST(PosixToolRunnerTest, ReadsOutputLargerThanThePipeBuffer) {
  PosixToolRunner runner;
  const ToolRun run = runner.run("/usr/bin/head", {"-c", "1000000", "/dev/zero"}, Streams::kOutput);
  EXPECT_EQ(run.output.size(), 1000000u);
}

TEST(PosixToolRunnerTest, InheritsTheEnvironment) {
  ASSERT_EQ(setenv("QUILLON_TOOL_RUNNER_PROBE", "seen", 1), 0);
  PosixToolRunner runner;
  EXPECT_EQ(text(runner.run("/bin/sh", {"-c", "printf %s \"$QUILLON_TOOL_RUNNER_PROBE\""}, Streams::kOutput)), "seen");
  unsetenv("QUILLON_TOOL_RUNNER_PROBE");
}

TEST(PosixToolRunnerTest, TheToolHoldsOnlyItsStandardDescriptorsFromTheRun) {
  // The pipe's ends are close-on-exec: the tool sees the write end only as its
  // standard output, never under another number.
  PosixToolRunner runner;
  const std::string countHoldersOfOutput =
      "p=$(readlink /proc/$$/fd/1); n=0; "
      "for f in /proc/$$/fd/*; do [ \"$(readlink $f)\" = \"$p\" ] && n=$((n+1)); done; echo $n";
  const ToolRun run = runner.run("/bin/sh", {"-c", countHoldersOfOutput}, Streams::kOutputAndError);
  ASSERT_TRUE(run.started);
  EXPECT_EQ(text(run), "2\n");  // standard output and standard error
}

void onAlarm(int) {}

// Interrupts the thread every millisecond while alive, without SA_RESTART, so
// that every blocking read and wait meets EINTR.
class SignalStorm {
 public:
  SignalStorm() {
    struct sigaction action {};
    action.sa_handler = onAlarm;
    sigaction(SIGALRM, &action, &previous_);
    const itimerval every{{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &every, nullptr);
  }
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;
  ~SignalStorm() {
    const itimerval off{};
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &previous_, nullptr);
  }

 private:
  struct sigaction previous_ {};
};

TEST(PosixToolRunnerTest, SurvivesInterruptedReadsAndWaits) {
  PosixToolRunner runner;
  SignalStorm storm;
  const ToolRun run = runner.run("/bin/sh", {"-c", "sleep 0.1; echo first; sleep 0.1; echo second"}, Streams::kOutput);
  ASSERT_TRUE(run.started);
  EXPECT_EQ(text(run), "first\nsecond\n");
  EXPECT_TRUE(run.exitedWithZero());
}

TEST(PosixToolRunnerTest, LeavesNoDescriptorAndNoChildBehind) {
  PosixToolRunner runner;
  const std::size_t before = testing::openDescriptorCount();
  for (int i = 0; i < 200; ++i) {
    runner.run("/bin/true", {}, Streams::kOutput);
    runner.run("/nonexistent/tool", {}, Streams::kOutputAndError);
  }
  EXPECT_EQ(testing::openDescriptorCount(), before);
  EXPECT_TRUE(testing::hasNoChildren());
}

}  // namespace
}  // namespace quillon
