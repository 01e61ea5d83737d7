// The order a caller relies on, against the built host: calls sent in one go
// on one connection take effect, and are answered, in the order sent, so a
// kill followed by a liveness check sees the kill. The host runs as a process of a PID namespace
// of its own, with the processes it kills: nothing of the machine's can be
// reached. The victims' parent lets the kernel reap them (SIGCHLD ignored,
// which a shell cannot do), so that a killed one is gone at once, not a
// zombie that ps would list.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "tests/support/host_conversation.h"
#include "tests/support/pipelined_client.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

constexpr int kVictims = 8;

TEST(CallOrderEndToEndTest, AKillAndTheLivenessCheckAfterItTakeEffectInTheOrderSent) {
  if (::geteuid() != 0) GTEST_SKIP() << "making PID namespaces needs root";
  testing::ScratchDirectory scratch;
  // A sleep of its own name, so that the host finds the victims by it.
  std::filesystem::copy_file("/bin/sleep", scratch.path() + "/victim");
  const std::string victims = "perl -e '$SIG{CHLD} = \"IGNORE\"; for (1.." + std::to_string(kVictims) +
                              ") { exec @ARGV unless fork } sleep' " + scratch.path() + "/victim 1000 &\n\"$0\"";
  auto host = testing::startedHost({.headless = true,
                                    .launcher = {"/usr/bin/unshare", "--pid", "--fork", "--mount-proc", "--kill-child",
                                                 "/bin/sh", "-c", victims}});
  auto lookup = testing::connectTo(*host);
  ASSERT_TRUE(lookup);
  ChannelReply found = ChannelReply::notImplemented();
  ASSERT_TRUE(testing::waitUntil(
      [&] {
        found = testing::callHost(*lookup, kNativeCommandChannel, "process::getProcessesByName",
                                  testing::argumentMap({{"name", "victim"}}));
        return found.isSuccess() && std::get<ChannelList>(found.value().variant()).size() == kVictims;
      },
      10s))
      << describe(found.isSuccess() ? found.value() : ChannelValue());

  // Every kill and its check in one write; the answers come by id.
  auto caller = testing::PipelinedClient::connect(host->socketPath());
  ASSERT_TRUE(caller);
  std::vector<std::pair<std::uint32_t, MethodCall>> calls;
  std::uint32_t id = 0;
  for (const ChannelValue& victim : std::get<ChannelList>(found.value().variant())) {
    const ChannelValue arguments = testing::argumentMap({{"processId", victim}});
    calls.push_back({++id, MethodCall{"process::killProcess", arguments}});
    calls.push_back({++id, MethodCall{"process::isAlive", arguments}});
  }
  ASSERT_TRUE(caller->send(calls));
  // One at a time, in the order sent: the answers come in that order too.
  std::map<std::uint32_t, ChannelReply> answers;
  for (std::uint32_t expected = 1; expected <= calls.size(); ++expected) {
    const auto answer = caller->nextAnswer(testing::kAnswerTime);
    ASSERT_TRUE(answer) << answers.size() << " answers";
    EXPECT_EQ(answer->first, expected);
    answers.insert(*answer);
  }
  for (const auto& [sentId, call] : calls) {
    const bool isKill = call.method == "process::killProcess";
    EXPECT_EQ(answers.at(sentId), ChannelReply::success(isKill)) << call.method << " " << describe(call.arguments);
  }
  EXPECT_EQ(host->stop(), 0);
}

}  // namespace
}  // namespace quillon
