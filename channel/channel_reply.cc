#include "channel/channel_reply.h"

#include <ostream>

namespace quillon {

std::string describe(const ChannelReply& reply) {
  if (reply.isSuccess()) return "success(" + describe(reply.value()) + ")";
  if (reply.isError()) {
    const ChannelError& error = reply.error();
    return "error(" + error.code + ", " + error.message + ", " + describe(error.details) + ")";
  }
  return "not-implemented";
}

void PrintTo(const ChannelReply& reply, std::ostream* out) { *out << describe(reply); }

}  // namespace quillon
