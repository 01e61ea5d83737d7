// BinaryMessenger: carries encoded messages between the host and the interface,
// by channel name.
//
// Contract: handlers run on the main thread, one message at a time, in arrival
// order. Each incoming message comes with a BinaryReply that must be answered
// exactly once; a reply destroyed unanswered sends the empty reply
// (not-implemented). A message to a channel without a handler is answered with
// the empty reply. A reply carries the key of the caller that sent the message,
// where the messenger can tell its callers apart.
#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/once_callback.h"
#include "channel/caller_key.h"
#include "embedding/link_observer.h"

namespace quillon {

// The answer to one incoming message: its encoded reply envelope, empty for
// not-implemented.
class BinaryReply : public OnceCallback<void(std::vector<std::uint8_t>)> {
 public:
  template <typename F>
    requires(!std::same_as<std::remove_cvref_t<F>, BinaryReply>)
  explicit BinaryReply(F&& send, CallerKey caller = {})
      : OnceCallback(std::forward<F>(send), &sendEmpty), caller_(std::move(caller)) {}

  const CallerKey& caller() const { return caller_; }

 private:
  static void sendEmpty(OnceCallback unrun) { std::move(unrun)({}); }

  CallerKey caller_;
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

  // Who method channels on this messenger tell of each call they receive
  // and of its answer; none unless the messenger has one.
  virtual LinkObserver* observer() const { return nullptr; }
};

}  // namespace quillon
