// The interface's side of a conversation with a built host: start it, connect,
// call, and read what the host sends on its own; and the fixture of the
// end-to-end tests. Every wait has a deadline.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "channel/channel_names.h"
#include "channel/standard_codec.h"
#include "tests/support/host_process.h"
#include "tests/support/reply_recorder.h"
#include "tools/link_client.h"

namespace quillon::testing {

using namespace std::chrono_literals;

inline constexpr auto kAnswerTime = 20s;

// A started host that serves its socket.
inline std::unique_ptr<HostProcess> startedHost(HostProcess::Layout layout) {
  auto host = std::make_unique<HostProcess>(layout);
  host->start();
  EXPECT_TRUE(host->waitReady()) << host->errorOutput();
  return host;
}

inline std::unique_ptr<LinkClient> connectTo(const HostProcess& host) {
  auto client = LinkClient::connect(host.socketPath());
  if (!client.hasValue()) ADD_FAILURE() << client.error().reason;
  return client.hasValue() ? *std::move(client) : nullptr;
}

inline bool running(HostProcess& host) { return !host.waitExit(0ms); }

// A call on `channel` and its answer; fails the test when none comes.
inline ChannelReply callHost(LinkClient& client, const std::string& channel, const std::string& method,
                             ChannelValue arguments = {}) {
  auto reply = client.call(channel, MethodCall{method, std::move(arguments)}, kAnswerTime);
  if (!reply.hasValue()) ADD_FAILURE() << method << ": " << reply.error().reason;
  return reply.hasValue() ? *std::move(reply) : ChannelReply::error("TEST", reply.error().reason);
}

// The next call the host makes on its own, as "channel method(arguments)",
// ending " wanting a reply" when it wants one; nothing within `timeout`.
inline std::optional<std::string> nextHostCall(LinkClient& client, std::chrono::milliseconds timeout = kAnswerTime) {
  const auto message = client.nextMessage(timeout);
  if (!message.hasValue()) return std::nullopt;
  const auto call = StandardCodec::decodeMethodCall(message->payload);
  if (!call.hasValue()) return "undecodable: " + call.error().reason;
  return message->channel + " " + call->method + "(" + describe(call->arguments) + ")" +
         (message->id != 0 ? " wanting a reply" : "");
}

inline const std::string kCloseRequest = std::string(kAppCloseChannel) + " onAppCloseRequested(" + describe(ChannelValue()) + ")";

// After a round trip on the command channel, nothing is pending from the host:
// whatever it sent before answering has arrived.
inline void expectNoFurtherHostCalls(LinkClient& client) {
  EXPECT_TRUE(callHost(client, kNativeCommandChannel, "assembly::getExecutingAssemblyPath").isSuccess());
  EXPECT_EQ(nextHostCall(client, 0ms), std::nullopt);
}

// The fixture of the end-to-end tests: a built host started for each test,
// one interface connected to it, on which a first round trip is made (the
// host sends on its own to the connections it has accepted), and calls on the
// native command channel.
class CatalogueEndToEndTest : public ::testing::Test {
 protected:
  explicit CatalogueEndToEndTest(HostProcess::Layout layout = {}) : host_(layout) {}

  void SetUp() override {
    host_.start();
    ASSERT_TRUE(host_.waitReady()) << host_.errorOutput();
    client_ = connectTo(host_);
    ASSERT_TRUE(client_);
    ASSERT_TRUE(call("assembly::getExecutingAssemblyPath").isSuccess());
  }

  ChannelReply call(const std::string& method, ChannelValue arguments = {}) {
    return callHost(*client_, kNativeCommandChannel, method, std::move(arguments));
  }

  HostProcess host_;
  std::unique_ptr<LinkClient> client_;
};

}  // namespace quillon::testing
