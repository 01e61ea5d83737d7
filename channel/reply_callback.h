// ReplyCallback: the one-shot answer channel of a received call, a
// OnceCallback that takes the call's ChannelReply.
//
// Contract: whoever holds the callback must answer the call exactly once, on
// the thread that received it (OnceCallback's rules). A callback destroyed
// unanswered is a programming error: it answers not-implemented, so that the
// caller never hangs, and says so on standard error. It carries the key of the
// caller that is waiting for it (CallerKey), default when nobody told it.
#pragma once

#include <concepts>
#include <string>
#include <type_traits>
#include <utility>

#include "base/once_callback.h"
#include "channel/caller_key.h"
#include "channel/channel_reply.h"

namespace quillon {

class ReplyCallback : public OnceCallback<void(ChannelReply)> {
 public:
  template <typename F>
    requires(!std::same_as<std::remove_cvref_t<F>, ReplyCallback>)
  explicit ReplyCallback(F&& sink, CallerKey caller = {})
      : OnceCallback(std::forward<F>(sink), &answerDropped), caller_(std::move(caller)) {}

  const CallerKey& caller() const { return caller_; }

  // Shorthands for the three kinds of answer.
  void success(ChannelValue value = {}) && { std::move(*this)(ChannelReply::success(std::move(value))); }
  void error(std::string code, std::string message) && {
    std::move(*this)(ChannelReply::error(std::move(code), std::move(message)));
  }
  void notImplemented() && { std::move(*this)(ChannelReply::notImplemented()); }

 private:
  static void answerDropped(OnceCallback unrun);

  CallerKey caller_;
};

}  // namespace quillon
