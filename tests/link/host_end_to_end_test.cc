// The built host, started in a bundle of its own and called over its socket.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

// Bytes that break the framing close their connection only, with a line; the
// host serves the others, and new ones, on.
TEST(HostEndToEndTest, BrokenFramingClosesOnlyThatClient) {
  auto host = startedHost({});
  auto broken = connectTo(*host);
  auto healthy = connectTo(*host);
  ASSERT_TRUE(broken && healthy);
  EXPECT_TRUE(callHost(*healthy, "nothing", "nothing").isNotImplemented());
  std::string error;
  const std::vector<std::uint8_t> oversized{0x01, 0x00, 0x00, 0x05, 1};  // Length 80 MiB.
  ASSERT_TRUE(broken->sendRaw(oversized, &error)) << error;
  EXPECT_TRUE(broken->waitForClose(kAnswerTime));
  auto later = connectTo(*host);
  ASSERT_TRUE(later);
  for (LinkClient* client : {healthy.get(), later.get()}) {
    EXPECT_EQ(callHost(*client, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
              ChannelReply::success(host->executablePath()));
  }
  EXPECT_EQ(host->stop(), 0);
  EXPECT_NE(host->errorOutput().find("beyond the limit"), std::string::npos) << host->errorOutput();
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
          std::string error;
          received = client.nextMessage(kAnswerTime, &error);
          if (received) client.sendRaw(encodeReplyFrame(received->id, {}), &error);
        });
    const auto second = host.spawnHost("second", {{"DESKTOP_STARTUP_ID", "launch-2_TIME7"}});
    EXPECT_EQ(second->waitExit(kAnswerTime), 1);
  }
  ASSERT_TRUE(received);
  EXPECT_EQ(received->channel, "quillon.app/instance");
  ChannelMap arguments;
  arguments.set("startupId", "launch-2_TIME7");
  std::string error;
  EXPECT_EQ(StandardCodec::decodeMethodCall(received->payload, &error), (MethodCall{"activate", arguments}));
  EXPECT_EQ(host.errorOutput("second"), "quillon-host: another host already serves " + host.socketPath() +
                                            " and did not take the launch: it answered not-implemented\n");
}

}  // namespace
}  // namespace quillon::testing
