// CallSummary: one call in the list of latest calls, kept as short text only:
// never a value of the call or of its answer. And how its fields are written
// in the list.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "channel/channel_reply.h"
#include "platform/clock.h"

namespace quillon {

// Characters of a channel's or a method's name in the list.
inline constexpr std::size_t kNameWidth = 64;

struct CallSummary {
  std::uint64_t sequence = 0;  // 1 for the first call the host received, then one more for each
  Instant received;
  std::chrono::steady_clock::time_point started;  // when its handler was given it
  std::string channel;
  std::string method;
  std::string arguments;  // see CallSummariser
  std::string answer;     // the answer's kind (answerKind()); empty while it waits
  std::optional<std::chrono::microseconds> took;
};

// "success", "error CODE" or "not implemented".
std::string answerKind(const ChannelReply& answer);

// "14:03:27.915": the time of day, local, to the millisecond.
std::string timeOfDay(Instant instant);

// "0.04 ms" below 10 ms, "250 ms" below a second, "2.5 s" from there.
std::string duration(std::chrono::microseconds took);

}  // namespace quillon
