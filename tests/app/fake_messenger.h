// A BinaryMessenger that keeps the handlers and every sent message, and lets a
// test play the interface: deliver a call and read the one answer.
#pragma once

#include <map>
#include <memory>
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

  // Delivers `call` as the interface would; every answer it gets, whenever
  // it comes, is decoded into the returned list (the empty reply as
  // not-implemented).
  std::shared_ptr<std::vector<ChannelReply>> post(const std::string& channel, const MethodCall& call) {
    auto replies = std::make_shared<std::vector<ChannelReply>>();
    BinaryReply reply([replies](std::vector<std::uint8_t> payload) { replies->push_back(decodeAnswer(payload)); });
    if (auto handler = handlers.find(channel); handler != handlers.end()) {
      handler->second(StandardCodec::encodeMethodCall(call), std::move(reply));
    } else {
      std::move(reply)({});
    }
    return replies;
  }

  // Delivers `call` and answers the reply it got; fails the test unless it
  // was answered exactly once, before the handler returned.
  ChannelReply deliver(const std::string& channel, const MethodCall& call) {
    const auto replies = post(channel, call);
    EXPECT_EQ(replies->size(), 1u) << call.method;
    return replies->size() == 1 ? replies->front() : ChannelReply::notImplemented();
  }

  std::map<std::string, MessageHandler> handlers;
  std::vector<Sent> sent;

 private:
  static ChannelReply decodeAnswer(const std::vector<std::uint8_t>& payload) {
    if (payload.empty()) return ChannelReply::notImplemented();
    std::string error;
    std::optional<ChannelReply> decoded = StandardCodec::decodeReply(payload, &error);
    EXPECT_TRUE(decoded) << error;
    return decoded ? *decoded : ChannelReply::error("TEST", "undecodable reply");
  }
};

}  // namespace quillon::testing
