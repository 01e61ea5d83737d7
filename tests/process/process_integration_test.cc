// ProcessManager over the real Linux platform, against real child processes:
// what process_end_to_end_test cannot reach from outside the host.
#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

namespace {

// How many more calls of readdir may succeed; negative: every call does.
int readdirsBeforeFailure = -1;

}  // namespace

// This program's readdir stands in front of the C library's, and fails (EIO,
// as a directory read can) once a test has let through the calls it allows.
extern "C" dirent* readdir(DIR* directory) {
  static const auto next = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
  if (readdirsBeforeFailure == 0) {
    errno = EIO;
    return nullptr;
  }
  if (readdirsBeforeFailure > 0) --readdirsBeforeFailure;
  return next(directory);
}

namespace quillon {
namespace {

using testing::SleepingChild;

// An id above every id the kernel hands out, so no process has it.
std::int64_t unusedProcessId() {
  std::int64_t limit = 0;
  std::ifstream("/proc/sys/kernel/pid_max") >> limit;
  return limit;
}

class ProcessIntegrationTest : public ::testing::Test {
 protected:
  ChannelReply handleOf(std::int64_t id) {
    return testing::answerOf([&](ReplyCallback reply) { manager.getMainWindowHandle(id, std::move(reply)); });
  }

  testing::LinuxProcessPlatform platform;
  ProcessManager& manager = platform.manager;
};

TEST_F(ProcessIntegrationTest, HandleLookupAnswersNothingForAnIdThatIsNoListedProcess) {
  const std::int64_t self = ::getpid();
  for (const std::int64_t other : {std::int64_t{-5}, unusedProcessId(), (std::int64_t{1} << 32) + self, INT64_MIN + self}) {
    EXPECT_EQ(handleOf(other), ChannelReply::success("")) << other;
    // Never narrowed to the 32-bit id of another process, whoever asks.
    EXPECT_EQ(platform.handles.handleOf(other), Expected<std::optional<std::int64_t>>(std::nullopt)) << other;
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
}

TEST_F(ProcessIntegrationTest, NoDescriptorOrChildOutlivesAThousandOperations) {
  const std::size_t descriptorsBefore = testing::openDescriptorCount();
  const std::int64_t self = ::getpid();
  const std::int64_t unused = unusedProcessId();
  for (int round = 0; round < 250; ++round) {
    EXPECT_TRUE(manager.isAlive(self));
    EXPECT_EQ(manager.getProcessName(unused), "");
    EXPECT_FALSE(manager.killProcess(unused));
    EXPECT_EQ(handleOf(self), ChannelReply::success(std::to_string(self)));
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
  const auto run = PosixToolRunner().run("/bin/ps", {"-e", "-o", "pid=,ppid="}, ToolRunner::Streams::kOutput,
                                         ProcessManager::kPsTimeLimit);
  ASSERT_TRUE(run.hasValue()) << run.error().reason;
  std::istringstream table(std::string(run->output.begin(), run->output.end()));
  for (std::int64_t id = 0, parent = 0; table >> id >> parent;) {
    EXPECT_FALSE((id == 2 || parent == 2) && names.contains(id)) << id;
  }
}

// A scan of /proc that breaks off gives the empty list; no exception escapes.
TEST_F(ProcessIntegrationTest, ProcessesByNameAnswerTheEmptyListWhenProcCannotBeReadThrough) {
  const auto processesNamed = [this](const std::string& name) {
    return testing::answerOf([&](ReplyCallback reply) { manager.getProcessesByName(name, std::move(reply)); });
  };
  const std::string ownName = platform.applications.list().at(0).localizedName.value_or("");
  ASSERT_NE(processesNamed(ownName), ChannelReply::success(ChannelList{}));
  for (const int allowed : {0, 3}) {
    readdirsBeforeFailure = allowed;
    EXPECT_EQ(processesNamed(ownName), ChannelReply::success(ChannelList{})) << allowed;
    readdirsBeforeFailure = -1;
  }
}

}  // namespace
}  // namespace quillon
