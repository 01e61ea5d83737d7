// ReplyCallback: the one-shot answer channel of a received call.
//
// Contract: whoever holds the callback must answer the call exactly once, on the
// thread that received it. Answering consumes the callback (the call operator is
// rvalue-qualified, so the code reads `std::move(reply)(...)`), and it cannot be
// copied, so a call cannot be answered twice. A callback destroyed unanswered is
// a programming error: it answers not-implemented, so that the caller never
// hangs, and says so on standard error.
#pragma once

#include <functional>
#include <utility>

#include "channel/channel_reply.h"

namespace quillon {

class ReplyCallback {
 public:
  using Sink = std::function<void(ChannelReply)>;

  explicit ReplyCallback(Sink sink) : sink_(std::move(sink)) {}
  ReplyCallback(ReplyCallback&& other) noexcept : sink_(std::exchange(other.sink_, nullptr)) {}
  ReplyCallback& operator=(ReplyCallback&&) = delete;
  ReplyCallback(const ReplyCallback&) = delete;
  ReplyCallback& operator=(const ReplyCallback&) = delete;
  ~ReplyCallback();

  void operator()(ChannelReply reply) &&;

  // Shorthands for the three kinds of answer.
  void success(ChannelValue value = {}) && { std::move(*this)(ChannelReply::success(std::move(value))); }
  void error(std::string code, std::string message) && {
    std::move(*this)(ChannelReply::error(std::move(code), std::move(message)));
  }
  void notImplemented() && { std::move(*this)(ChannelReply::notImplemented()); }

 private:
  Sink sink_;
};

}  // namespace quillon
