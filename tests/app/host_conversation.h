// The interface's side of a conversation with a built host: start it, connect,
// call, and read what the host sends on its own. Every wait has a deadline.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "channel/channel_names.h"
#include "channel/standard_codec.h"
#include "tests/support/host_process.h"
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
  std::string error;
  auto client = LinkClient::connect(host.socketPath(), &error);
  EXPECT_TRUE(client) << error;
  return client;
}

inline bool running(HostProcess& host) { return !host.waitExit(0ms); }

// A call on `channel` and its answer; fails the test when none comes.
inline ChannelReply callHost(LinkClient& client, const std::string& channel, const std::string& method,
                             ChannelValue arguments = {}) {
  std::string error;
  std::optional<ChannelReply> reply =
      client.call(channel, MethodCall{method, std::move(arguments)}, kAnswerTime, &error);
  if (!reply) {
    ADD_FAILURE() << method << ": " << error;
    return ChannelReply::error("TEST", error);
  }
  return *reply;
}

// Sends "forceQuitApp" `times` times in one write, asking for no answer.
inline void forceQuit(LinkClient& client, int times = 1) {
  const auto call = StandardCodec::encodeMethodCall(MethodCall{"forceQuitApp", {}});
  std::vector<std::uint8_t> frames;
  for (int i = 0; i < times; ++i) {
    const auto frame = encodeMessageFrame(0, kAppCloseChannel, call);
    frames.insert(frames.end(), frame.begin(), frame.end());
  }
  std::string error;
  EXPECT_TRUE(client.sendRaw(frames, &error)) << error;
}

struct HostCall {
  std::string channel;
  MethodCall call;
  bool wantsReply = false;
  friend bool operator==(const HostCall&, const HostCall&) = default;
};

inline void PrintTo(const HostCall& call, std::ostream* out) {
  *out << call.channel << " " << call.call.method << "(" << describe(call.call.arguments) << ")"
       << (call.wantsReply ? " wanting a reply" : "");
}

// The next call the host makes on its own, or nothing within `timeout`.
inline std::optional<HostCall> nextHostCall(LinkClient& client, std::chrono::milliseconds timeout) {
  std::string error;
  std::optional<LinkClient::HostMessage> message = client.nextMessage(timeout, &error);
  if (!message) return std::nullopt;
  std::optional<MethodCall> call = StandardCodec::decodeMethodCall(message->payload, &error);
  EXPECT_TRUE(call) << error;
  if (!call) return std::nullopt;
  return HostCall{message->channel, std::move(*call), message->id != 0};
}

inline const HostCall kCloseRequest{kAppCloseChannel, MethodCall{"onAppCloseRequested", {}}, false};

// After a round trip on the command channel, nothing is pending from the host:
// whatever it sent before answering has arrived.
inline void expectNoFurtherHostCalls(LinkClient& client) {
  EXPECT_TRUE(callHost(client, kNativeCommandChannel, "assembly::getExecutingAssemblyPath").isSuccess());
  EXPECT_EQ(nextHostCall(client, 0ms), std::nullopt);
}

}  // namespace quillon::testing
