// A BinaryMessenger in memory: it keeps the handlers and every message sent,
// and plays the interface: it delivers a message and decodes each answer.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "channel/standard_codec.h"
#include "embedding/binary_messenger.h"

namespace quillon::testing {

class FakeMessenger final : public BinaryMessenger {
 public:
  using Bytes = std::vector<std::uint8_t>;

  void send(std::string_view channel, Bytes message) override { sent.emplace_back(channel, std::move(message)); }
  void setMessageHandler(std::string channel, MessageHandler handler) override {
    if (handler) handlers[channel] = std::move(handler);
    else handlers.erase(channel);
  }
  bool hasHandler(const std::string& channel) const { return handlers.contains(channel); }
  LinkObserver* observer() const override { return linkObserver; }

  // Delivers `message`; the answers given while the handler ran, decoded (the
  // empty reply as not-implemented).
  std::vector<ChannelReply> post(const std::string& channel, const Bytes& message) {
    auto replies = std::make_shared<std::vector<ChannelReply>>();  // Later answers harm nothing.
    BinaryReply reply([replies](Bytes payload) {
      const auto decoded = StandardCodec::decodeReply(payload);
      EXPECT_TRUE(decoded.hasValue()) << decoded.error().reason;
      replies->push_back(decoded.hasValue() ? *decoded : ChannelReply::error("TEST", "undecodable reply: " + decoded.error().reason));
    });
    if (const auto handler = handlers.find(channel); handler != handlers.end()) {
      handler->second(message, std::move(reply));
    } else {
      std::move(reply)({});  // No handler: the empty reply.
    }
    return *replies;
  }

  // The answer to `call`; fails the test unless it came once, before the handler returned.
  ChannelReply deliver(const std::string& channel, const MethodCall& call) {
    const auto replies = post(channel, StandardCodec::encodeMethodCall(call));
    EXPECT_EQ(replies.size(), 1u) << call.method;
    return replies.size() == 1 ? replies.front() : ChannelReply::error("TEST", "not answered once");
  }

  std::map<std::string, MessageHandler> handlers;
  std::vector<std::pair<std::string, Bytes>> sent;
  LinkObserver* linkObserver = nullptr;
};

}  // namespace quillon::testing
