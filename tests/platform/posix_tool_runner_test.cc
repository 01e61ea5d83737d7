#include "platform/linux/posix_tool_runner.h"

#include <dirent.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
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

TEST(PosixToolRunner, GivesTheExitStatus) {
  const std::pair<const char*, int> cases[] = {{"exit 0", 0}, {"exit 1", 1}, {"exit 3", 3}};
  for (const auto& [script, code] : cases) {
    SCOPED_TRACE(script);
    ToolRun run = PosixToolRunner().run("/bin/sh", {"-c", script}, ToolRunner::Streams::kOutput);
    ASSERT_TRUE(run.started);
    ASSERT_TRUE(WIFEXITED(run.waitStatus));
    EXPECT_EQ(WEXITSTATUS(run.waitStatus), code);
  }
}

TEST(PosixToolRunner, AKilledToolDidNotExitWithZero) {
  ToolRun run = PosixToolRunner().run("/bin/sh", {"-c", "kill -9 $$"}, ToolRunner::Streams::kOutput);
  ASSERT_TRUE(run.started);
  EXPECT_TRUE(WIFSIGNALED(run.waitStatus));
  EXPECT_FALSE(run.exitedWithZero());
}

TEST(PosixToolRunner, InheritsTheEnvironment) {
  ASSERT_EQ(::setenv("QUILLON_TOOL_RUNNER_PROBE", "seen", 1), 0);
  ToolRun run = PosixToolRunner().run("/bin/sh", {"-c", "printf %s \"$QUILLON_TOOL_RUNNER_PROBE\""},
                                      ToolRunner::Streams::kOutput);
  ::unsetenv("QUILLON_TOOL_RUNNER_PROBE");
  EXPECT_EQ(text(run), "seen");
}

TEST(PosixToolRunner, EnvironmentChangesRemoveThenSet) {
  for (const char* name : {"QUILLON_KEPT", "QUILLON_REMOVED", "QUILLON_REPLACED"}) ASSERT_EQ(::setenv(name, "host", 1), 0);
  const EnvironmentChanges changes{.removed = {"QUILLON_REMOVED"},
                                   .set = {{"QUILLON_REPLACED", "tool"}, {"QUILLON_ADDED", "a=b"}}};
  ToolRun run = PosixToolRunner().run(
      "/bin/sh", {"-c", "printf %s \"$QUILLON_KEPT ${QUILLON_REMOVED-gone} $QUILLON_REPLACED $QUILLON_ADDED\""},
      ToolRunner::Streams::kOutput, changes);
  for (const char* name : {"QUILLON_KEPT", "QUILLON_REMOVED", "QUILLON_REPLACED"}) ::unsetenv(name);
  EXPECT_EQ(text(run), "host gone tool a=b");
}

TEST(PosixToolRunner, TheToolHoldsThePipeOnlyAsItsStandardStreams) {
  // Both ends are close-on-exec: the write end reaches the tool only as the
  // descriptors it was given, never under another number.
  const std::string countHoldersOfOutput =
      "p=$(readlink /proc/$$/fd/1); n=0; "
      "for f in /proc/$$/fd/*; do [ \"$(readlink $f)\" = \"$p\" ] && n=$((n+1)); done; echo $n";
  ToolRun run = PosixToolRunner().run("/bin/sh", {"-c", countHoldersOfOutput}, ToolRunner::Streams::kOutputAndError);
  EXPECT_EQ(text(run), "2\n");
}

// Replaces the disposition of `signal` while alive.
class ScopedSignalAction {
 public:
  ScopedSignalAction(int signal, void (*handler)(int)) : signal_(signal) {
    struct sigaction action {};
    action.sa_handler = handler;  // no SA_RESTART: blocking calls meet EINTR
    ::sigaction(signal_, &action, &previous_);
  }
  ScopedSignalAction(const ScopedSignalAction&) = delete;
  ScopedSignalAction& operator=(const ScopedSignalAction&) = delete;
  ~ScopedSignalAction() { ::sigaction(signal_, &previous_, nullptr); }

 private:
  int signal_;
  struct sigaction previous_ {};
};

TEST(PosixToolRunner, ToolsStartWithDefaultSignalDispositions) {
  ScopedSignalAction ignorePipe(SIGPIPE, SIG_IGN);
  ScopedSignalAction ignoreInterrupt(SIGINT, SIG_IGN);
  ToolRun run = PosixToolRunner().run("/bin/sed", {"-n", "s/^SigIgn:\t//p", "/proc/self/status"},
                                      ToolRunner::Streams::kOutput);
  const unsigned long long ignored = std::stoull(text(run), nullptr, 16);
  const unsigned long long oursIgnored = (1ULL << (SIGPIPE - 1)) | (1ULL << (SIGINT - 1));
  EXPECT_EQ(ignored & oursIgnored, 0u) << text(run);
}

void ignoreAlarm(int) {}

// Interrupts the process every millisecond while alive.
class AlarmStorm {
 public:
  AlarmStorm() {
    const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
    ::setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
  }
  AlarmStorm(const AlarmStorm&) = delete;
  AlarmStorm& operator=(const AlarmStorm&) = delete;
  ~AlarmStorm() {
    const itimerval off{};
    ::setitimer(ITIMER_REAL, &off, nullptr);
  }

 private:
  ScopedSignalAction handler_{SIGALRM, ignoreAlarm};
};

TEST(PosixToolRunner, InterruptedReadsAndWaitsAreResumed) {
  ToolRun run;
  {
    AlarmStorm storm;
    run = PosixToolRunner().run("/bin/sh", {"-c", "sleep 0.1; echo first; sleep 0.1; echo second"},
                                ToolRunner::Streams::kOutput);
  }
  EXPECT_EQ(text(run), "first\nsecond\n");
  EXPECT_TRUE(run.exitedWithZero());
}

TEST(PosixToolRunner, AToolReapedBehindItsBackDoesNotCountAsSuccess) {
  ScopedSignalAction autoReap(SIGCHLD, SIG_IGN);
  ToolRun run = PosixToolRunner().run("/bin/true", {}, ToolRunner::Streams::kOutput);
  EXPECT_TRUE(run.started);
  EXPECT_FALSE(run.exitedWithZero());
}

}  // namespace
}  // namespace quillon
