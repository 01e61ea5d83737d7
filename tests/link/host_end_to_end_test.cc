// The built host, started in a bundle of its own and called over its socket.
#include <gtest/gtest.h>

#include <filesystem>

#include "channel/channel_names.h"
#include "channel/standard_codec.h"
#include "tests/support/host_process.h"
#include "tests/support/scripted_host.h"
#include "tools/link_client.h"

namespace quillon {
namespace {

using testing::HostProcess;
using namespace std::chrono_literals;

constexpr auto kAnswerTime = 20s;

std::unique_ptr<LinkClient> connectTo(const HostProcess& host) {
  std::string error;
  auto client = LinkClient::connect(host.socketPath(), &error);
  EXPECT_TRUE(client) << error;
  return client;
}

ChannelReply call(LinkClient& client, const std::string& method, ChannelValue arguments = {},
                  std::string_view channel = kNativeCommandChannel) {
  std::string error;
  auto reply = client.call(channel, MethodCall{method, std::move(arguments)}, kAnswerTime, &error);
  EXPECT_TRUE(reply) << error;
  return reply.value_or(ChannelReply::error("TEST", error));
}

std::unique_ptr<HostProcess> startedHost(HostProcess::Layout layout) {
  auto host = std::make_unique<HostProcess>(layout);
  host->start();
  EXPECT_TRUE(host->waitReady()) << host->errorOutput();
  return host;
}

TEST(HostEndToEndTest, AssemblyPathsWithTheHelpersInTheBundle) {
  auto host = startedHost({.helpers = true});
  auto client = connectTo(*host);
  ASSERT_TRUE(client);
  EXPECT_EQ(call(*client, "assembly::getExecutingAssemblyPath"), ChannelReply::success(host->executablePath()));
  EXPECT_EQ(call(*client, "assembly::getRDPBinaryExecutablePath"),
            ChannelReply::success(host->dataPath() + "/pylonRDP/pylonRDP"));
  EXPECT_EQ(call(*client, "assembly::getTXBinaryExecutablePath"),
            ChannelReply::success(host->dataPath() + "/pylonTX/pylonTX"));
  EXPECT_EQ(host->stop(), 0);
  EXPECT_EQ(host->output(), "");
}

TEST(HostEndToEndTest, AssemblyPathsWithoutTheHelpersAnswerEmptyAndSaySoOnStandardOutput) {
  auto host = startedHost({.helpers = false});
  auto client = connectTo(*host);
  ASSERT_TRUE(client);
  EXPECT_EQ(call(*client, "assembly::getRDPBinaryExecutablePath"), ChannelReply::success(""));
  EXPECT_EQ(call(*client, "assembly::getTXBinaryExecutablePath"), ChannelReply::success(""));
  EXPECT_EQ(host->stop(), 0);
  EXPECT_EQ(host->output(), "Error: pylonRDP directory not found at path " + host->dataPath() +
                                "/pylonRDP/pylonRDP\nError: pylonTX directory not found at path " + host->dataPath() +
                                "/pylonTX/pylonTX\n");
}

TEST(HostEndToEndTest, WithoutADataDirectoryTheResourcePathIsMissing) {
  auto host = startedHost({.dataDirectory = false});
  auto client = connectTo(*host);
  ASSERT_TRUE(client);
  EXPECT_EQ(call(*client, "assembly::getTXBinaryExecutablePath"), ChannelReply::success(""));
  EXPECT_EQ(call(*client, "assembly::getExecutingAssemblyPath"), ChannelReply::success(host->executablePath()));
  EXPECT_EQ(host->stop(), 0);
  EXPECT_EQ(host->output(), "Error: Unable to find the resource path\n");
}

// No interface could read a path that is not UTF-8, and a repaired one would
// name another file.
TEST(HostEndToEndTest, ABundlePathThatIsNotUtf8AnswersEmptyWithTheLines) {
  auto host = startedHost({.helpers = true, .bundleName = "bundle-caf\xE9"});
  auto client = connectTo(*host);
  ASSERT_TRUE(client);
  EXPECT_EQ(call(*client, "assembly::getExecutingAssemblyPath"), ChannelReply::success(""));
  EXPECT_EQ(call(*client, "assembly::getTXBinaryExecutablePath"), ChannelReply::success(""));
  EXPECT_EQ(host->stop(), 0);
  EXPECT_EQ(host->output(), "Error: Unable to find the executable URL\nError: Unable to find the resource path\n");
}

TEST(HostEndToEndTest, APayloadThatIsNotAMethodCallIsAnsweredBadMessageAndTheConnectionStays) {
  auto host = startedHost({});
  auto client = connectTo(*host);
  ASSERT_TRUE(client);
  std::string error;
  const std::vector<std::uint8_t> notACall{7, 3, 'a', 'b'};
  const auto payload = client->request(kNativeCommandChannel, notACall, kAnswerTime, &error);
  ASSERT_TRUE(payload) << error;
  const auto reply = StandardCodec::decodeReply(*payload, &error);
  ASSERT_TRUE(reply && reply->isError()) << error;
  EXPECT_EQ(reply->error().code, "BAD_MESSAGE");
  EXPECT_EQ(call(*client, "assembly::getExecutingAssemblyPath"), ChannelReply::success(host->executablePath()));
}

TEST(HostEndToEndTest, BrokenFramingClosesOnlyThatClient) {
  auto host = startedHost({});
  auto broken = connectTo(*host);
  auto healthy = connectTo(*host);
  ASSERT_TRUE(broken && healthy);
  EXPECT_TRUE(call(*healthy, "nothing").isNotImplemented());
  std::string error;
  const std::vector<std::uint8_t> oversized{0x01, 0x00, 0x00, 0x05, 1};  // Length 80 MiB.
  ASSERT_TRUE(broken->sendRaw(oversized, &error)) << error;
  EXPECT_TRUE(broken->waitForClose(kAnswerTime));
  EXPECT_EQ(call(*healthy, "assembly::getExecutingAssemblyPath"), ChannelReply::success(host->executablePath()));
  auto later = connectTo(*host);
  ASSERT_TRUE(later);
  EXPECT_EQ(call(*later, "assembly::getExecutingAssemblyPath"), ChannelReply::success(host->executablePath()));
  EXPECT_EQ(host->stop(), 0);
  EXPECT_NE(host->errorOutput().find("beyond the limit"), std::string::npos) << host->errorOutput();
}

TEST(HostEndToEndTest, ManyClientsAreServedSideBySide) {
  auto host = startedHost({});
  std::vector<std::unique_ptr<LinkClient>> clients;
  for (int index = 0; index < 8; ++index) clients.push_back(connectTo(*host));
  for (auto& client : clients) {
    ASSERT_TRUE(client);
    EXPECT_EQ(call(*client, "assembly::getExecutingAssemblyPath"), ChannelReply::success(host->executablePath()));
  }
}

// A second launch hands itself over to the host that runs (headless here, so
// there is no window to bring forward) and ends with 0; the first goes on.
TEST(HostEndToEndTest, ASecondHostOnALiveSocketHandsTheLaunchOverAndExitsZero) {
  auto host = startedHost({.headless = true});
  const auto second = host->spawnHost("second", {{"DESKTOP_STARTUP_ID", "launch-2_TIME7"}});
  EXPECT_EQ(second->waitExit(kAnswerTime), 0);
  EXPECT_EQ(host->errorOutput("second"),
            "quillon-host: QUILLON Remote App already runs on " + host->socketPath() + "; its window is not shown\n");
  auto client = connectTo(*host);
  ASSERT_TRUE(client);
  EXPECT_TRUE(call(*client, "nothing").isNotImplemented());
  EXPECT_EQ(host->stop(), 0);
}

// A live host that does not take the launch (one without the instance
// channel) keeps the second from starting, as any live host did before.
TEST(HostEndToEndTest, ALiveHostThatDoesNotTakeTheLaunchLeavesTheSecondAtStatusOne) {
  HostProcess host({});
  std::filesystem::create_directories(std::filesystem::path(host.socketPath()).parent_path());
  std::optional<LinkClient::HostMessage> received;
  {
    testing::ScriptedHost olderHost(
        host.socketPath(),
        [&received](LinkClient& client) {
          std::string error;
          received = client.nextMessage(kAnswerTime, &error);
          if (received) client.sendRaw(encodeReplyFrame(received->id, {}), &error);
        },
        /*passOverProbes=*/true);
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
}  // namespace quillon
