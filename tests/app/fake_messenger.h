// A BinaryMessenger that keeps the handlers and every sent message, and lets a
// test play the interface: deliver a call and read the one answer.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "channel/standard_codec.h"
#include "embedding/binary_messenger.h"

namespace quillon::testing {

class FakeMessenger final : public BinaryMessenger {
 public:
  struct Sent {
    std::string channel;
    MethodCall call;
  };

  void send(std::string_view channel, std::vector<std::uint8_t> message) override {
    std::string error;
    std::optional<MethodCall> call = StandardCodec::decodeMethodCall(message, &error);
    ASSERT_TRUE(call) << error;
    sent.push_back({std::string(channel), std::move(*call)});
  }

  void setMessageHandler(std::string channel, MessageHandler handler) override {
    if (handler) {
      handlers[channel] = std::move(handler);
    } else {
      handlers.erase(channel);
    }
  }

  bool hasHandler(const std::string& channel) const { return handlers.contains(channel); }

  // Delivers `call` as the interface would and answers the reply it got
  // (not-implemented for the empty reply); fails the test unless it was
  // answered exactly once, before the handler returned.
  ChannelReply deliver(const std::string& channel, const MethodCall& call) {
    std::vector<std::vector<std::uint8_t>> payloads;
    BinaryReply reply([&payloads](std::vector<std::uint8_t> payload) { payloads.push_back(std::move(payload)); });
    if (auto handler = handlers.find(channel); handler != handlers.end()) {
      handler->second(StandardCodec::encodeMethodCall(call), std::move(reply));
    } else {
      std::move(reply)({});
    }
    EXPECT_EQ(payloads.size(), 1u) << call.method;
    if (payloads.size() != 1 || payloads.front().empty()) return ChannelReply::notImplemented();
    std::string error;
    std::optional<ChannelReply> decoded = StandardCodec::decodeReply(payloads.front(), &error);
    EXPECT_TRUE(decoded) << error;
    return decoded ? *decoded : ChannelReply::error("TEST", "undecodable reply");
  }

  std::map<std::string, MessageHandler> handlers;
  std::vector<Sent> sent;
};

}  // namespace quillon::testing
