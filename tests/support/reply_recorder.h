// Hands out ReplyCallbacks and records every answer they give, in order.
#pragma once

#include <memory>
#include <vector>

#include "channel/reply_callback.h"

namespace quillon::testing {

class ReplyRecorder {
 public:
  ReplyCallback callback() {
    return ReplyCallback([replies = replies_](ChannelReply reply) { replies->push_back(std::move(reply)); });
  }

  const std::vector<ChannelReply>& replies() const { return *replies_; }
  // The only answer so far; fails the test unless there is exactly one.
  const ChannelReply& only() const;

 private:
  std::shared_ptr<std::vector<ChannelReply>> replies_ = std::make_shared<std::vector<ChannelReply>>();
};

inline const ChannelReply& ReplyRecorder::only() const {
  if (replies_->size() != 1) {
    static const ChannelReply kMissing = ChannelReply::error("TEST", "expected exactly one reply");
    return kMissing;
  }
  return replies_->front();
}

}  // namespace quillon::testing
