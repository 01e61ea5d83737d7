// A system tool that hangs, made for real: /bin/ps replaced, in a mount
// namespace of the host's own, by a script that starts a child of its own and
// waits for ever. The call answers its failure value at the tool's time limit
// and nothing of the tool outlives it; meanwhile the host serves everyone
// else, the caller's own later calls wait their turn, and the host can end.
// Making the namespace needs root, which CI has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/host_conversation.h"
#include "tests/support/pipelined_client.h"

namespace quillon::testing {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPsTimeLimit = 10s;

// The host, with a ps that hangs and writes its own id and its child's to
// `hung` (a line a run); orphans of the host's tools come to the test (a
// subreaper), which can tell how they ended.
class HangingToolTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "making mount namespaces needs root";
    ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    const std::string script = host_.directory() + "/hanging-ps";
    std::ofstream(script) << "#!/bin/sh\nsleep 600 &\necho \"$$ $!\" >>" << hungFile() << "\nwait\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    host_.start();
    ASSERT_TRUE(host_.waitReady()) << host_.errorOutput();
    caller_ = PipelinedClient::connect(host_.socketPath());
    neighbour_ = connectTo(host_);
    ASSERT_TRUE(caller_ && neighbour_);
  }

  void TearDown() override { ::prctl(PR_SET_CHILD_SUBREAPER, 0); }

  std::string hungFile() const { return host_.directory() + "/hung"; }

  // The runs of the hanging ps so far: its id and its child's.
  std::vector<std::pair<pid_t, pid_t>> hungRuns() const {
    std::vector<std::pair<pid_t, pid_t>> runs;
    std::istringstream lines(readFile(hungFile()));
    for (pid_t tool, child; lines >> tool >> child;) runs.emplace_back(tool, child);
    return runs;
  }

  // Whether the tool is gone (the host reaped it) and its child was killed
  // (and came to the test to be reaped).
  static void expectGone(std::pair<pid_t, pid_t> run) {
    EXPECT_FALSE(std::filesystem::exists("/proc/" + std::to_string(run.first))) << "the tool " << run.first;
    int status = 0;
    ASSERT_EQ(::waitpid(run.second, &status, 0), run.second) << "the tool's child " << run.second;
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
  }

  // Whether `reply` lists the host among the processes of its name (other
  // hosts of the machine may be among them too).
  bool listsHost(const ChannelReply& reply) const {
    if (!reply.isSuccess()) return false;
    const auto* ids = std::get_if<ChannelList>(&reply.value().variant());
    return ids != nullptr && std::ranges::find(*ids, ChannelValue(host_.pid())) != ids->end();
  }

  // The children of every thread of the host.
  std::string hostChildren() const {
    std::string children;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(host_.pid()) + "/task")) {
      children += readFile(task.path() / "children");
    }
    return children;
  }

  HostProcess host_{{.launcher = {"/usr/bin/unshare", "--mount", "--propagation", "private", "/bin/sh", "-ec",
                                  "mount --bind \"$(dirname \"$0\")/../hanging-ps\" /bin/ps\nexec \"$0\""}}};
  std::unique_ptr<PipelinedClient> caller_;
  std::unique_ptr<LinkClient> neighbour_;
};

// While the caller's ps hangs, its second call waits behind it, and a
// neighbour is served: a cheap call, a scan of /proc, the window.
TEST_F(HangingToolTest, TheCallAnswersAtTheLimitAndEveryoneElseMeanwhile) {
  const auto sent = Clock::now();
  ASSERT_TRUE(caller_->send({{1, MethodCall{"process::getProcessIdList", {}}},
                             {2, MethodCall{"process::getProcessesByName", argumentMap({{"name", "quillon-host"}})}}}));
  ASSERT_TRUE(waitUntil([&] { return !hungRuns().empty(); }, 10s));
  EXPECT_EQ(callHost(*neighbour_, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
            ChannelReply::success(host_.executablePath()));
  EXPECT_TRUE(listsHost(callHost(*neighbour_, kNativeCommandChannel, "process::getProcessesByName",
                                 argumentMap({{"name", "quillon-host"}}))));
  EXPECT_TRUE(callHost(*neighbour_, kNativeCommandChannel, "window::getScreenBounds").isSuccess());
  EXPECT_EQ(callHost(*neighbour_, "quillon.app/instance", "activate", argumentMap({{"startupId", ""}})),
            ChannelReply::success(false));
  EXPECT_LT(Clock::now() - sent, kPsTimeLimit - 2s);

  const auto first = caller_->nextAnswer(kPsTimeLimit + 10s);
  const auto answeredAfter = Clock::now() - sent;
  const auto second = caller_->nextAnswer(10s);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(*first, PipelinedClient::Answer(1, ChannelReply::success(ChannelList{})));
  EXPECT_EQ(second->first, 2u);
  EXPECT_TRUE(listsHost(second->second));
  EXPECT_GE(answeredAfter, kPsTimeLimit);
  EXPECT_LT(answeredAfter, kPsTimeLimit + 3s);

  ASSERT_EQ(hungRuns().size(), 1u);
  expectGone(hungRuns().front());
  EXPECT_EQ(hostChildren(), "");
  EXPECT_EQ(host_.stop(), 0);
  EXPECT_THAT(host_.errorOutput(), ::testing::HasSubstr("quillon-host: /bin/ps -e -o pid did not end within its time "
                                                        "limit of 10 s; it was killed\n"));
}

// The host asked to end while the tool hangs: it ends at once, without
// waiting for the limit, and takes the tool and its child with it.
TEST_F(HangingToolTest, TheHostEndsAtOnceAndLeavesNoToolBehind) {
  ASSERT_TRUE(caller_->send({{1, MethodCall{"process::getProcessIdList", {}}},
                             {2, MethodCall{"process::isAlive", argumentMap({{"processId", 1}})}}}));
  ASSERT_TRUE(waitUntil([&] { return !hungRuns().empty(); }, 10s));
  const auto asked = Clock::now();
  EXPECT_EQ(host_.stop(), 0) << host_.errorOutput();
  EXPECT_LT(Clock::now() - asked, 3s);
  ASSERT_EQ(hungRuns().size(), 1u);
  expectGone(hungRuns().front());
  // Whatever was answered before the connection closed is one of the call's answers.
  for (auto answer = caller_->nextAnswer(1s); answer; answer = caller_->nextAnswer(1s)) {
    EXPECT_THAT(answer->second, ::testing::AnyOf(ChannelReply::success(ChannelList{}), ChannelReply::success(false),
                                                 ChannelReply::error("UNAVAILABLE", "The host is ending")));
  }
}

}  // namespace
}  // namespace quillon::testing
