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
  // The only answer so far; unless there is exactly one, an error no command gives.
  const ChannelReply& only() const {
    static const ChannelReply kNotOne = ChannelReply::error("TEST", "expected exactly one reply");
    return replies_->size() == 1 ? replies_->front() : kNotOne;
  }

 private:
  std::shared_ptr<std::vector<ChannelReply>> replies_ = std::make_shared<std::vector<ChannelReply>>();
};

}  // namespace quillon::testing
