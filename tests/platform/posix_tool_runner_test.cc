#include "platform/linux/process/posix_tool_runner.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <cstdlib>
#include <string>

#include "tests/process/descriptor_census.h"

namespace quillon {
namespace {

constexpr auto kOutput = ToolRunner::Streams::kOutput;

// What a started tool wrote; nothing for one that could not be started.
std::string text(const Expected<ToolRun>& run) { return run ? std::string(run->output.begin(), run->output.end()) : ""; }
bool exitedWithZero(const Expected<ToolRun>& run) { return run && run->exitedWithZero(); }

// Every run leaves no child to reap and no descriptor open.
TEST(PosixToolRunnerTest, RunsExactlyWhatItIsGivenAndLeavesNothingBehind) {
  struct Case {
    std::string executable;
    std::vector<std::string> arguments;
    ToolRunner::Streams streams;
    std::string output;
    int waitStatus;  // -1: not started
  };
  const std::string bothStreams = "echo out; echo err >&2";
  const Case cases[] = {
      {"/bin/echo", {"$HOME", "two words", "*"}, kOutput, "$HOME two words *\n", 0},  // no shell reads them
      {"/bin/echo", {}, kOutput, "\n", 0},
      {"/bin/sh", {"-c", bothStreams}, kOutput, "out\n", 0},
      {"/bin/sh", {"-c", bothStreams}, ToolRunner::Streams::kOutputAndError, "out\nerr\n", 0},
      {"/bin/sh", {"-c", "echo partial; exit 3"}, kOutput, "partial\n", 3 << 8},
      {"/bin/sh", {"-c", "kill -9 $$"}, kOutput, "", SIGKILL},
      {"/nonexistent/tool", {}, kOutput, "", -1},
      {"echo", {"x"}, kOutput, "", -1},  // a relative path is not searched
      {"/usr/bin/head", {"-c", "3000000", "/dev/zero"}, kOutput, std::string(3000000, '\0'), 0},  // more than a pipe
      // Both ends of the pipe are close-on-exec: the tool holds the write end
      // only as the descriptors it was given, never under another number.
      {"/bin/sh", {"-c", "p=$(readlink /proc/$$/fd/1); n=0; for f in /proc/$$/fd/*; do "
                         "[ \"$(readlink $f)\" = \"$p\" ] && n=$((n+1)); done; echo $n"},
       ToolRunner::Streams::kOutputAndError, "2\n", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.executable + " " + (c.arguments.empty() ? "" : c.arguments.back()));
    const std::size_t descriptorsBefore = testing::openDescriptorCount();
    const auto run = PosixToolRunner().run(c.executable, c.arguments, c.streams);
    EXPECT_EQ(text(run), c.output);
    EXPECT_EQ(run ? run->waitStatus : -1, c.waitStatus);
    EXPECT_EQ(exitedWithZero(run), c.waitStatus == 0);
    EXPECT_EQ(run ? "" : run.error().reason, c.waitStatus >= 0 ? "" : "No such file or directory");
    EXPECT_EQ(testing::openDescriptorCount(), descriptorsBefore);
    EXPECT_TRUE(testing::hasNoChildren());
  }
}

TEST(PosixToolRunnerTest, EnvironmentChangesRemoveThenSetOverTheInheritedOnes) {
  for (const char* name : {"QUILLON_KEPT", "QUILLON_REMOVED", "QUILLON_REPLACED"}) ASSERT_EQ(::setenv(name, "host", 1), 0);
  const EnvironmentChanges changes{.removed = {"QUILLON_REMOVED"},
                                   .set = {{"QUILLON_REPLACED", "tool"}, {"QUILLON_ADDED", "a=b"}}};
  const auto run = PosixToolRunner().run(
      "/bin/sh", {"-c", "printf %s \"$QUILLON_KEPT ${QUILLON_REMOVED-gone} $QUILLON_REPLACED $QUILLON_ADDED\""},
      kOutput, changes);
  for (const char* name : {"QUILLON_KEPT", "QUILLON_REMOVED", "QUILLON_REPLACED"}) ::unsetenv(name);
  EXPECT_EQ(text(run), "host gone tool a=b");
}

// Replaces the disposition of `signal` while alive; without SA_RESTART, so
// that blocking calls meet EINTR.
class ScopedSignalAction {
 public:
  ScopedSignalAction(int signal, void (*handler)(int)) : signal_(signal) {
    struct sigaction action {};
    action.sa_handler = handler;
    ::sigaction(signal_, &action, &previous_);
  }
  ~ScopedSignalAction() { ::sigaction(signal_, &previous_, nullptr); }

 private:
  int signal_;
  struct sigaction previous_ {};
};

TEST(PosixToolRunnerTest, ToolsStartWithDefaultSignalDispositions) {
  ScopedSignalAction ignorePipe(SIGPIPE, SIG_IGN);
  ScopedSignalAction ignoreInterrupt(SIGINT, SIG_IGN);
  const auto run = PosixToolRunner().run("/bin/sed", {"-n", "s/^SigIgn:\t//p", "/proc/self/status"}, kOutput);
  const unsigned long long ignored = std::stoull(text(run), nullptr, 16);
  EXPECT_EQ(ignored & ((1ULL << (SIGPIPE - 1)) | (1ULL << (SIGINT - 1))), 0u) << text(run);
}

void ignoreAlarm(int) {}

TEST(PosixToolRunnerTest, InterruptedReadsAndWaitsAreResumed) {
  Expected<ToolRun> run = Failure{"not run"};
  {
    // An interruption every millisecond while the tool runs.
    ScopedSignalAction handler(SIGALRM, ignoreAlarm);
    const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
    ::setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
    run = PosixToolRunner().run("/bin/sh", {"-c", "sleep 0.1; echo first; sleep 0.1; echo second"}, kOutput);
    const itimerval off{};
    ::setitimer(ITIMER_REAL, &off, nullptr);
  }
  EXPECT_EQ(text(run), "first\nsecond\n");
  EXPECT_TRUE(exitedWithZero(run));
}

TEST(PosixToolRunnerTest, AToolReapedBehindItsBackDoesNotCountAsSuccess) {
  ScopedSignalAction autoReap(SIGCHLD, SIG_IGN);
  const auto run = PosixToolRunner().run("/bin/true", {}, kOutput);
  ASSERT_TRUE(run) << run.error().reason;
  EXPECT_FALSE(run->exitedWithZero());
}

}  // namespace
}  // namespace quillon
