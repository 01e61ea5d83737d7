// ProcessManager over the real Linux platform, against real child processes:
// what the end-to-end test cannot reach from outside the host.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <sstream>
#include <thread>

#include "tests/process/descriptor_census.h"
#include "tests/process/linux_process_platform.h"
#include "tests/process/sleeping_child.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

using testing::SleepingChild;

bool contains(const std::vector<std::int64_t>& ids, std::int64_t id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

// An id above every id the kernel hands out, so no process has it.
std::int64_t unusedProcessId() {
  std::int64_t limit = 0;
  std::ifstream("/proc/sys/kernel/pid_max") >> limit;
  return limit;
}

class ProcessIntegrationTest : public ::testing::Test {
 protected:
  ChannelReply handleOf(std::int64_t id) {
    testing::ReplyRecorder recorder;
    manager.getMainWindowHandle(id, recorder.callback());
    return recorder.only();
  }

  testing::LinuxProcessPlatform platform;
  ProcessManager& manager = platform.manager;
};

// procps reads its settings from the environment that the host hands on to it;
// none of them may change what the process services answer.
TEST_F(ProcessIntegrationTest, AnswersDoNotDependOnPsSettingsInTheEnvironment) {
  // Not ASCII, longer than the kernel's 15 bytes of command name, and blanks in the arguments.
  SleepingChild child("sl\u00EBeper quillon child", {"1000", " 1"});
  const std::int64_t unused = unusedProcessId();
  const std::pair<const char*, const char*> settings[] = {
      {"PS_FORMAT", "pid="},        {"PS_PERSONALITY", "bsd"}, {"CMD_ENV", "bsd"}, {"I_WANT_A_BROKEN_PS", "1"},
      {"LIBPROC_HIDE_KERNEL", "1"}, {"COLUMNS", "20"},         {"LINES", "1"},     {"LC_ALL", "C"},
      {"LC_ALL", "POSIX"},
  };
  for (const auto& [name, value] : settings) {
    SCOPED_TRACE(std::string(name) + "=" + value);
    ASSERT_EQ(::setenv(name, value, 1), 0);
    EXPECT_TRUE(contains(manager.getProcessIdList(), child.pid()));
    EXPECT_TRUE(manager.isAlive(child.pid()));
    EXPECT_FALSE(manager.isAlive(unused));
    EXPECT_EQ(manager.getProcessName(child.pid()), "sl\u00EBeper quillo");
    EXPECT_EQ(manager.getProcessName(unused), "");
    EXPECT_EQ(manager.getProcessFileName(child.pid()), child.path() + " 1000  1");
    ::unsetenv(name);
  }
}

TEST_F(ProcessIntegrationTest, HandleLookupAnswersTheIdOfAListedProcessOnly) {
  SleepingChild child("quillon sleeper child");
  EXPECT_EQ(handleOf(child.pid()), ChannelReply::success(std::to_string(child.pid())));
  // Never narrowed to the 32-bit id of another process.
  const std::int64_t self = ::getpid();
  for (const std::int64_t other : {std::int64_t{-5}, unusedProcessId(), (std::int64_t{1} << 32) + self, INT64_MIN + self}) {
    EXPECT_EQ(handleOf(other), ChannelReply::success("")) << other;
  }
  // /proc answers for a thread's id too, though it lists only processes.
  std::promise<pid_t> threadId;
  std::promise<void> release;
  std::thread worker([&threadId, done = release.get_future()] {
    threadId.set_value(::gettid());
    done.wait();
  });
  EXPECT_EQ(handleOf(threadId.get_future().get()), ChannelReply::success(""));
  release.set_value();
  worker.join();
  EXPECT_TRUE(platform.diagnostics.lines.empty());
  // Any other script is refused, with a line that says so.
  EXPECT_FALSE(manager.runAppleScript("tell application \"Finder\" to quit").has_value());
  ASSERT_EQ(platform.diagnostics.lines.size(), 1u);
  EXPECT_TRUE(platform.diagnostics.lines[0].starts_with("AppleScript Error: ")) << platform.diagnostics.lines[0];
}

TEST_F(ProcessIntegrationTest, NoDescriptorOrChildOutlivesAThousandOperations) {
  const std::size_t descriptorsBefore = testing::openDescriptorCount();
  const std::int64_t self = ::getpid();
  const std::int64_t unused = unusedProcessId();
  for (int round = 0; round < 250; ++round) {
    manager.isAlive(self);
    manager.getProcessName(self);
    EXPECT_FALSE(manager.killProcess(unused));
    manager.findMainWindowHandle(self);
  }
  EXPECT_EQ(testing::openDescriptorCount(), descriptorsBefore);
  EXPECT_TRUE(testing::hasNoChildren());
}

TEST(ProcRunningApplicationsTest, ListsProcessesAscendingUnderTheirFullNamesButNoKernelThreads) {
  SleepingChild child("quillon sleeper child");
  const auto applications = ProcRunningApplications().list();
  EXPECT_TRUE(std::is_sorted(applications.begin(), applications.end(),
                             [](const auto& a, const auto& b) { return a.processId < b.processId; }));
  std::map<std::int64_t, std::optional<std::string>> names;
  for (const RunningApplication& application : applications) names[application.processId] = application.localizedName;
  // Named past the kernel's 15 characters: from the first command-line word
  // for the child, whose executable is plain sleep; from the executable for us.
  EXPECT_EQ(names[child.pid()], "quillon sleeper child");
  EXPECT_EQ(names[::getpid()], std::filesystem::read_symlink("/proc/self/exe").filename().native());
  // Kernel threads are kthreadd (id 2) and its children, as ps reports them.
  const ToolRun run = PosixToolRunner().run("/bin/ps", {"-e", "-o", "pid=,ppid="}, ToolRunner::Streams::kOutput);
  std::istringstream table(std::string(run.output.begin(), run.output.end()));
  for (std::int64_t id = 0, parent = 0; table >> id >> parent;) {
    EXPECT_FALSE((id == 2 || parent == 2) && names.contains(id)) << id;
  }
}

}  // namespace
}  // namespace quillon
