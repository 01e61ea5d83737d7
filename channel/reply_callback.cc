#include "channel/reply_callback.h"

#include <cstdio>

namespace quillon {

void ReplyCallback::answerDropped(OnceCallback unrun) {
  std::fputs("quillon-host: programming error: a call was dropped unanswered; answering not-implemented\n",
             stderr);
  std::move(unrun)(ChannelReply::notImplemented());
}

}  // namespace quillon
