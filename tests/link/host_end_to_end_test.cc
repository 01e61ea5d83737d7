// The built host, started in a bundle of its own and called over its socket.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

// Each way of breaking the framing closes its connection only, with a line
// that says why; the host serves the others, and new ones, on.
TEST(HostEndToEndTest, BrokenFramingClosesOnlyThatClientWithItsReason) {
  auto host = startedHost({});
  auto healthy = connectTo(*host);
  ASSERT_TRUE(healthy);
  EXPECT_TRUE(callHost(*healthy, "nothing", "nothing").isNotImplemented());
  const std::vector<std::pair<std::vector<std::uint8_t>, std::string>> kBroken{
      {{1, 0, 0, 4}, "beyond the limit"},  // 64 MiB and one byte: refused before the body arrives.
      {{0xFF, 0xFF, 0xFF, 0xFF, 1}, "beyond the limit"},
      {{4, 0, 0, 0, 1, 0, 0, 0}, "too short"},
      {{0, 0, 0, 0}, "too short"},
      {{5, 0, 0, 0, 0}, "unknown frame kind 0"},
      {{5, 0, 0, 0, 3, 1, 0, 0, 0}, "unknown frame kind 3"},
      {{6, 0, 0, 0, 1, 1, 0, 0, 0, 9}, "without a channel name length"},
      {{9, 0, 0, 0, 1, 1, 0, 0, 0, 3, 0, 'a', 'b'}, "beyond the frame"},
      {{9, 0, 0, 0, 1, 1, 0, 0, 0, 2, 0, 0xC3, 0x28}, "not UTF-8"},
  };
  for (const auto& [bytes, reason] : kBroken) {
    auto broken = connectTo(*host);
    ASSERT_TRUE(broken);
    const auto sent = broken->sendRaw(bytes);
    ASSERT_TRUE(sent) << sent.error().reason;
    EXPECT_TRUE(broken->waitForClose(kAnswerTime)) << reason;
  }
  auto later = connectTo(*host);
  ASSERT_TRUE(later);
  for (LinkClient* client : {healthy.get(), later.get()}) {
    EXPECT_EQ(callHost(*client, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
              ChannelReply::success(host->executablePath()));
  }
  EXPECT_EQ(host->stop(), 0);
  for (const auto& [bytes, reason] : kBroken) {
    EXPECT_NE(host->errorOutput().find(reason), std::string::npos) << reason << " in " << host->errorOutput();
  }
}

// A live host that does not take the launch (one without the instance
// channel) keeps the second from starting. (The hosts that take it are on the
// desktop: shell_desktop_test.cc.)
TEST(HostEndToEndTest, ALiveHostThatDoesNotTakeTheLaunchLeavesTheSecondAtStatusOne) {
  HostProcess host({});
  std::filesystem::create_directories(std::filesystem::path(host.socketPath()).parent_path());
  std::optional<LinkClient::HostMessage> received;
  {
    ScriptedHost olderHost(
        host.socketPath(),
        [&received](LinkClient& client) {
          if (auto message = client.nextMessage(kAnswerTime)) {
            client.sendRaw(encodeReplyFrame(message->id, {}));
            received = *std::move(message);
          }
        });
    const auto second = host.spawnHost("second", {{"DESKTOP_STARTUP_ID", "launch-2_TIME7"}});
    EXPECT_EQ(second->waitExit(kAnswerTime), 1);
  }
  ASSERT_TRUE(received);
  EXPECT_EQ(received->channel, "quillon.app/instance");
  ChannelMap arguments;
  arguments.set("startupId", "launch-2_TIME7");
  EXPECT_EQ(StandardCodec::decodeMethodCall(received->payload), (MethodCall{"activate", arguments}));
  EXPECT_EQ(host.errorOutput("second"), "quillon-host: another host already serves " + host.socketPath() +
                                            " and did not take the launch: it answered not-implemented\n");
}

}  // namespace
}  // namespace quillon::testing
