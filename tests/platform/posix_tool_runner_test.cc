#include "platform/linux/process/posix_tool_runner.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <thread>
#include <sstream>
#include <string>

#include "tests/process/descriptor_census.h"
#include "tests/support/child_process.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

constexpr auto kOutput = ToolRunner::Streams::kOutput;
// Far beyond what the tools of these tests take.
constexpr std::chrono::milliseconds kAmple = 20s;

// What a started tool wrote; nothing for one that could not be started.
std::string text(const Expected<ToolRun>& run) { return run.hasValue() ? std::string(run->output.begin(), run->output.end()) : ""; }
bool exitedWithZero(const Expected<ToolRun>& run) { return run.hasValue() && run->exitedWithZero(); }

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
    const auto run = PosixToolRunner().run(c.executable, c.arguments, c.streams, kAmple);
    EXPECT_EQ(text(run), c.output);
    EXPECT_EQ(run.hasValue() ? run->waitStatus : -1, c.waitStatus);
    EXPECT_EQ(exitedWithZero(run), c.waitStatus == 0);
    EXPECT_EQ(run.hasValue() ? "" : run.error().reason, c.waitStatus >= 0 ? "" : "No such file or directory");
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
      kOutput, kAmple, changes);
  for (const char* name : {"QUILLON_KEPT", "QUILLON_REMOVED", "QUILLON_REPLACED"}) ::unsetenv(name);
  EXPECT_EQ(text(run), "host gone tool a=b");
}

// Every descriptor of the host stays with it, close-on-exec or not.
TEST(PosixToolRunnerTest, ToolsGetNoDescriptorOfTheHostAndAGroupOfTheirOwn) {
  const UniqueFd devNull(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  const UniqueFd inheritable(::fcntl(devNull.get(), F_DUPFD, 10));  // without close-on-exec
  ASSERT_TRUE(inheritable.valid());
  const auto listed = PosixToolRunner().run("/bin/ls", {"/proc/self/fd"}, kOutput, kAmple);
  EXPECT_THAT(text(listed), ::testing::Not(::testing::HasSubstr(std::to_string(inheritable.get()) + "\n")));
  const auto grouped = PosixToolRunner().run("/bin/sh", {"-c", "echo $$ $(cut -d' ' -f5 /proc/$$/stat)"}, kOutput, kAmple);
  std::istringstream words(text(grouped));
  std::string pid, group;
  words >> pid >> group;
  EXPECT_FALSE(pid.empty());
  EXPECT_EQ(group, pid);
}

// Orphans of the tools come to the test (a subreaper), which can tell how they ended.
class ToolDescendantsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0); }
  void TearDown() override { ::prctl(PR_SET_CHILD_SUBREAPER, 0); }

  // How the process whose id a tool wrote to `pidFile` ended: the signal that killed it, or 0.
  static int endOf(const std::string& pidFile) {
    const pid_t pid = std::stoi(testing::readFile(pidFile));
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid) return -1;
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }

  testing::ScratchDirectory scratch_;
};

// The tool in a group of its own, killed with everything in it: at the time
// limit, or, for what a tool leaves running behind it, once the tool ends.
TEST_F(ToolDescendantsTest, AToolPastItsLimitIsKilledWithWhatItStartedAndNothingOutlivesARun) {
  const std::string pidFile = scratch_.path() + "/sleeper";
  struct Case {
    std::string script;
    std::chrono::milliseconds limit;
    std::string reason;  // "" for a run that succeeds
    std::string line;
  };
  const std::string hanging = "sleep 30 & echo $! >" + pidFile + "; wait";
  const std::string leaving = "sleep 30 & echo $! >" + pidFile;
  const Case cases[] = {
      {hanging, 300ms, "did not end within 300 ms",
       "quillon-host: /bin/sh -c " + hanging + " did not end within its time limit of 300 ms; it was killed\n"},
      {"echo 'line\nbreak'; " + hanging, 1s, "did not end within 1 s",
       "quillon-host: /bin/sh -c echo 'line?break'; " + hanging +
           " did not end within its time limit of 1 s; it was killed\n"},
      {leaving, kAmple, "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.script);
    const auto begin = std::chrono::steady_clock::now();
    ::testing::internal::CaptureStderr();
    const auto run = PosixToolRunner().run("/bin/sh", {"-c", c.script}, kOutput, c.limit);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), c.line);
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(run.hasValue() ? "" : run.error().reason, c.reason);
    EXPECT_GE(took, c.reason.empty() ? 0ms : c.limit);
    EXPECT_LT(took, (c.reason.empty() ? 0ms : c.limit) + 2s);
    EXPECT_EQ(endOf(pidFile), SIGKILL);
    EXPECT_TRUE(testing::hasNoChildren());
  }
}

// The host's end: the runs under way end at once, without the limit's line,
// and later ones never start.
TEST_F(ToolDescendantsTest, EndingAllRunsEndsTheRunsUnderWayAndRefusesLaterOnes) {
  const std::string pidFile = scratch_.path() + "/sleeper";
  PosixToolRunner tools;
  ::testing::internal::CaptureStderr();
  Expected<ToolRun> ended = Failure{"not run"};
  std::thread running(
      [&] { ended = tools.run("/bin/sh", {"-c", "sleep 30 & echo $! >" + pidFile + "; wait"}, kOutput, 30s); });
  EXPECT_TRUE(testing::waitUntil([&] { return testing::readFile(pidFile).ends_with('\n'); }, 10s));
  const auto begin = std::chrono::steady_clock::now();
  tools.endAllRuns();
  running.join();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
  EXPECT_EQ(ended.hasValue() ? "" : ended.error().reason, "the host is ending");
  EXPECT_EQ(endOf(pidFile), SIGKILL);
  const std::string startedFile = scratch_.path() + "/started";
  const auto later = tools.run("/bin/sh", {"-c", "echo >" + startedFile}, kOutput, kAmple);
  EXPECT_EQ(later.hasValue() ? "" : later.error().reason, "the host is ending");
  EXPECT_FALSE(std::filesystem::exists(startedFile));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
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
  const auto run = PosixToolRunner().run("/bin/sed", {"-n", "s/^SigIgn:\t//p", "/proc/self/status"}, kOutput, kAmple);
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
    run = PosixToolRunner().run("/bin/sh", {"-c", "sleep 0.1; echo first; sleep 0.1; echo second"}, kOutput,
                                 kAmple);
    const itimerval off{};
    ::setitimer(ITIMER_REAL, &off, nullptr);
  }
  EXPECT_EQ(text(run), "first\nsecond\n");
  EXPECT_TRUE(exitedWithZero(run));
}

TEST(PosixToolRunnerTest, AToolReapedBehindItsBackDoesNotCountAsSuccess) {
  ScopedSignalAction autoReap(SIGCHLD, SIG_IGN);
  const auto run = PosixToolRunner().run("/bin/true", {}, kOutput, kAmple);
  ASSERT_TRUE(run.hasValue()) << run.error().reason;
  EXPECT_FALSE(run->exitedWithZero());
}

}  // namespace
}  // namespace quillon
