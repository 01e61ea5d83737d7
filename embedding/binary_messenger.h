// BinaryMessenger: carries encoded messages between the host and the interface,
// by channel name.
//
// Contract: handlers run on the main thread, one message at a time, in arrival
// order. Each incoming message comes with a BinaryReply that must be answered
// exactly once; a reply destroyed unanswered sends the empty reply
// (not-implemented). A message to a channel without a handler is answered with
// the empty reply.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

class BinaryReply {
 public:
  using Sink = std::function<void(std::vector<std::uint8_t> payload)>;

  explicit BinaryReply(Sink sink) : sink_(std::move(sink)) {}
  BinaryReply(BinaryReply&& other) noexcept : sink_(std::exchange(other.sink_, nullptr)) {}
  BinaryReply& operator=(BinaryReply&&) = delete;
  BinaryReply(const BinaryReply&) = delete;
  BinaryReply& operator=(const BinaryReply&) = delete;
  ~BinaryReply() {
    if (sink_) std::exchange(sink_, nullptr)({});
  }

  // Sends `payload` (an encoded reply envelope; empty for not-implemented).
  void operator()(std::vector<std::uint8_t> payload) && { std::exchange(sink_, nullptr)(std::move(payload)); }

 private:
  Sink sink_;
};

class BinaryMessenger {
 public:
  using MessageHandler = std::function<void(std::span<const std::uint8_t> message, BinaryReply reply)>;

  virtual ~BinaryMessenger() = default;

  // Sends `message` on `channel` to every connected interface; no reply is wanted.
  virtual void send(std::string_view channel, std::vector<std::uint8_t> message) = 0;

  // Installs the handler of `channel`, replacing any earlier one; an empty
  // handler removes it.
  virtual void setMessageHandler(std::string channel, MessageHandler handler) = 0;
};

}  // namespace quillon
