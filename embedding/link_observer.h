// LinkObserver: is told what the interface link serves, for a list of
// its traffic (the main window's stand-in view): each method call the host
// receives on any channel, with the kind of its answer, and how many
// interfaces are connected.
//
// Contract: main thread only; it runs on every call, so it must be cheap and
// must not wait. It is told of a call before the channel's handler runs (a
// call on a channel without a handler: just before its not-implemented
// answer). The call is borrowed for the length of callReceived(): the
// observer keeps none of its values and never changes the answer. The answer
// note it returns (it may return none) runs once, when the handler answers,
// with the answer the interface gets (not-implemented for a reply dropped
// unanswered). It may run after the observer is gone (a store's completion
// dropped while the host ends), so it must refer to the observer weakly.
#pragma once

#include <cstddef>
#include <string_view>

#include "base/once_callback.h"
#include "channel/channel_reply.h"
#include "channel/method_call.h"

namespace quillon {

class LinkObserver {
 public:
  using AnswerNote = OnceCallback<void(const ChannelReply& answer)>;

  virtual ~LinkObserver() = default;

  virtual AnswerNote callReceived(std::string_view channel, const MethodCall& call) = 0;
  virtual void connectionsChanged(std::size_t count) = 0;
};

}  // namespace quillon
