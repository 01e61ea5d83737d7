// Hands out ReplyCallbacks and records every answer they give, in order; and
// the arguments maps that calls carry.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <utility>
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

// What `call` answers the callback it is handed; fails the test unless that is
// exactly one answer, given before `call` returned.
template <typename Call>
ChannelReply answerOf(Call call) {
  ReplyRecorder recorder;
  call(recorder.callback());
  EXPECT_EQ(recorder.replies().size(), 1u);
  return recorder.only();
}

// An arguments map, in the order given.
inline ChannelValue argumentMap(std::initializer_list<std::pair<ChannelValue, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

}  // namespace quillon::testing
