// ProcessManager over the real Linux platform, against real child processes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <future>
#include <sstream>
#include <thread>

#include "platform/linux/posix_tool_runner.h"
#include "platform/linux/proc_running_applications.h"
#include "platform/linux/process_query_script_runner.h"
#include "platform/linux/x11_window_list.h"
#include "process/main_window_script.h"
#include "process/process_manager.h"
#include "tests/process/descriptor_census.h"
#include "tests/process/linux_process_platform.h"
#include "tests/process/sleeping_child.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

using testing::LinuxProcessPlatform;
using testing::SleepingChild;

// Longer than the kernel's 15-character command names, with a blank inside.
constexpr const char* kChildName = "quillon sleeper child";

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
  ChannelReply lookup(void (ProcessManager::*operation)(std::int64_t, ReplyCallback), std::int64_t id) {
    testing::ReplyRecorder recorder;
    (manager.*operation)(id, recorder.callback());
    EXPECT_EQ(recorder.replies().size(), 1u);
    return recorder.only();
  }

  std::vector<std::int64_t> idsNamed(const std::string& name) {
    testing::ReplyRecorder recorder;
    manager.getProcessesByName(name, recorder.callback());
    std::vector<std::int64_t> ids;
    for (const ChannelValue& id : std::get<ChannelList>(recorder.only().value().variant())) {
      ids.push_back(std::get<std::int64_t>(id.variant()));
    }
    return ids;
  }

  LinuxProcessPlatform platform;
  ProcessManager& manager = platform.manager;
  testing::CapturingDiagnostics& diagnostics = platform.diagnostics;
};

TEST_F(ProcessIntegrationTest, ARunningChildIsListedFoundAndRead) {
  SleepingChild child(kChildName, {"1000", " 1"});
  ASSERT_GT(child.pid(), 0);

  const auto table = manager.getProcessIdList();
  EXPECT_TRUE(contains(table, child.pid()));
  EXPECT_TRUE(contains(table, ::getpid()));
  EXPECT_TRUE(manager.isAlive(child.pid()));
  EXPECT_EQ(idsNamed(kChildName), std::vector<std::int64_t>{child.pid()});
  EXPECT_EQ(manager.getProcessName(child.pid()), std::string(kChildName).substr(0, 15));
  EXPECT_EQ(manager.getProcessFileName(child.pid()), child.path() + " 1000  1");
  EXPECT_EQ(manager.getProcessLaunchArguments(child.pid()), manager.getProcessFileName(child.pid()));
  EXPECT_EQ(manager.getProcessWorkingDirectory(child.pid()), "Unknown");
}

TEST_F(ProcessIntegrationTest, KillProcessEndsTheChild) {
  SleepingChild child(kChildName);
  ASSERT_TRUE(manager.isAlive(child.pid()));
  EXPECT_TRUE(manager.killProcess(child.pid()));
  EXPECT_EQ(child.reap(), SIGKILL);
  EXPECT_FALSE(manager.isAlive(child.pid()));
  EXPECT_FALSE(contains(manager.getProcessIdList(), child.pid()));
}

TEST_F(ProcessIntegrationTest, CloseWindowKillsAsKillProcessDoes) {
  SleepingChild child(kChildName);
  EXPECT_TRUE(manager.closeWindow(child.pid()));
  EXPECT_EQ(child.reap(), SIGKILL);
}

TEST_F(ProcessIntegrationTest, AnUnusedIdIsNeitherAliveNorKilledNorNamed) {
  const std::int64_t unused = unusedProcessId();
  ASSERT_GT(unused, 0);
  EXPECT_FALSE(manager.isAlive(unused));
  EXPECT_FALSE(manager.killProcess(unused));
  EXPECT_EQ(manager.getProcessName(unused), "");
  EXPECT_EQ(manager.getProcessFileName(unused), "");
}

// procps reads its settings from the environment that the host hands on to it;
// none of them may change what the process services answer.
struct PsSetting {
  const char* name;
  const char* value;
};

constexpr PsSetting kPsSettings[] = {
    {"PS_FORMAT", "pid="},          {"PS_PERSONALITY", "bsd"}, {"CMD_ENV", "bsd"}, {"I_WANT_A_BROKEN_PS", "1"},
    {"LIBPROC_HIDE_KERNEL", "1"},   {"COLUMNS", "20"},         {"LINES", "1"},     {"LC_ALL", "C"},
    {"LC_ALL", "POSIX"},
};

TEST_F(ProcessIntegrationTest, AnswersDoNotDependOnPsSettingsInTheEnvironment) {
  // Not ASCII, and longer than the kernel's 15 bytes of command name.
  SleepingChild child("sl\u00EBeper quillon child");
  const std::int64_t unused = unusedProcessId();
  for (const auto& [name, value] : kPsSettings) {
    SCOPED_TRACE(std::string(name) + "=" + value);
    ASSERT_EQ(::setenv(name, value, 1), 0);
    EXPECT_TRUE(contains(manager.getProcessIdList(), child.pid()));
    EXPECT_TRUE(manager.isAlive(child.pid()));
    EXPECT_FALSE(manager.isAlive(unused));
    EXPECT_EQ(manager.getProcessName(child.pid()), "sl\u00EBeper quillo");
    EXPECT_EQ(manager.getProcessFileName(child.pid()), child.path() + " 1000");
    ::unsetenv(name);
  }
}

TEST_F(ProcessIntegrationTest, HandleLookupAnswersTheIdOfAListedProcess) {
  SleepingChild child(kChildName);
  EXPECT_EQ(lookup(&ProcessManager::getMainWindowHandle, child.pid()),
            ChannelReply::success(std::to_string(child.pid())));
  EXPECT_EQ(lookup(&ProcessManager::getMainWindowHandle, -5), ChannelReply::success(""));
  EXPECT_EQ(lookup(&ProcessManager::getMainWindowHandle, unusedProcessId()), ChannelReply::success(""));
  // Never narrowed to the 32-bit id of another process.
  const std::int64_t self = ::getpid();
  for (const std::int64_t wrapped : {(std::int64_t{1} << 32) + self, INT64_MIN + self}) {
    EXPECT_EQ(lookup(&ProcessManager::getMainWindowHandle, wrapped), ChannelReply::success("")) << wrapped;
  }
  EXPECT_TRUE(diagnostics.lines.empty());
}

TEST_F(ProcessIntegrationTest, TitleLookupWithoutADisplaySaysSo) {
  // Each test runs in a process of its own: the display is gone for this one only.
  unsetenv("DISPLAY");
  EXPECT_EQ(lookup(&ProcessManager::getMainWindowTitle, ::getpid()),
            ChannelReply::error("UNAVAILABLE", "Main window title not found"));
  EXPECT_EQ(diagnostics.lines, std::vector<std::string>{"Error: Could not retrieve window list from Core Graphics."});
}

TEST_F(ProcessIntegrationTest, OtherScriptsAreAnsweredWithAnErrorLine) {
  EXPECT_FALSE(manager.runAppleScript("tell application \"Finder\" to quit").has_value());
  ASSERT_EQ(diagnostics.lines.size(), 1u);
  EXPECT_TRUE(diagnostics.lines[0].starts_with("AppleScript Error: ")) << diagnostics.lines[0];
}

TEST_F(ProcessIntegrationTest, AThreadIdIsNoProcessOfItsOwn) {
  // /proc answers for a thread's id too, though it lists only processes.
  std::promise<pid_t> threadId;
  std::promise<void> release;
  std::thread worker([&threadId, done = release.get_future()] {
    threadId.set_value(::gettid());
    done.wait();
  });
  const pid_t id = threadId.get_future().get();
  EXPECT_EQ(manager.findMainWindowHandle(id), "");
  EXPECT_EQ(manager.findMainWindowHandle(::getpid()), std::to_string(::getpid()));
  release.set_value();
  worker.join();
}

TEST_F(ProcessIntegrationTest, NoDescriptorOrChildOutlivesAThousandOperations) {
  const std::size_t descriptorsBefore = testing::openDescriptorCount();
  const std::int64_t self = ::getpid();
  const std::int64_t unused = unusedProcessId();
  for (int round = 0; round < 250; ++round) {
    manager.isAlive(self);
    manager.getProcessName(self);
    manager.killProcess(unused);
    manager.findMainWindowHandle(self);
  }
  EXPECT_EQ(testing::openDescriptorCount(), descriptorsBefore);
  EXPECT_TRUE(testing::hasNoChildren());
}

TEST(ProcRunningApplicationsTest, ListsProcessesAscendingUnderTheirFullNames) {
  SleepingChild child(kChildName);
  const auto applications = ProcRunningApplications().list();
  ASSERT_FALSE(applications.empty());
  EXPECT_TRUE(std::is_sorted(applications.begin(), applications.end(),
                             [](const auto& a, const auto& b) { return a.processId < b.processId; }));
  const auto named = [&](pid_t id) -> std::optional<std::string> {
    for (const RunningApplication& application : applications) {
      if (application.processId == id) return application.localizedName;
    }
    return std::nullopt;
  };
  // Named past the kernel's 15 characters: from the first command-line word
  // for the child, whose executable is plain sleep; from the executable for us.
  EXPECT_EQ(named(child.pid()), kChildName);
  EXPECT_EQ(named(::getpid()), std::filesystem::read_symlink("/proc/self/exe").filename().native());
}

TEST(ProcRunningApplicationsTest, KernelThreadsAreNotApplications) {
  // Kernel threads are kthreadd (id 2) and its children, as ps reports them.
  const ToolRun run = PosixToolRunner().run("/bin/ps", {"-e", "-o", "pid=,ppid="}, ToolRunner::Streams::kOutput);
  std::istringstream table(std::string(run.output.begin(), run.output.end()));
  std::vector<std::int64_t> kernelThreads;
  for (std::int64_t id = 0, parent = 0; table >> id >> parent;) {
    if (id == 2 || parent == 2) kernelThreads.push_back(id);
  }
  std::vector<std::int64_t> listed;
  for (const RunningApplication& application : ProcRunningApplications().list()) listed.push_back(application.processId);
  for (const std::int64_t id : kernelThreads) EXPECT_FALSE(contains(listed, id)) << id;
  EXPECT_TRUE(contains(listed, ::getpid()));
}

}  // namespace
}  // namespace quillon
