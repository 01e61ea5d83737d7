#include "channel/reply_callback.h"

#include <cstdio>
#include <cstdlib>

namespace quillon {

ReplyCallback::~ReplyCallback() {
  if (!sink_) return;
  std::fputs("quillon-host: programming error: a call was dropped unanswered; answering not-implemented\n",
             stderr);
  std::exchange(sink_, nullptr)(ChannelReply::notImplemented());
}

void ReplyCallback::operator()(ChannelReply reply) && {
  if (!sink_) {
    // Answering a moved-from or spent callback is a bug in our code, never input.
    std::fputs("quillon-host: programming error: a call was answered twice\n", stderr);
    std::abort();
  }
  std::exchange(sink_, nullptr)(std::move(reply));
}

}  // namespace quillon
