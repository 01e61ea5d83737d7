// The answers that the catalogues share.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "channel/method_call.h"
#include "channel/reply_callback.h"

namespace quillon {

inline constexpr std::string_view kInvalidArgument = "INVALID_ARGUMENT";

// Answers "INVALID_ARGUMENT" with `message` and null details.
void answerInvalidArgument(ReplyCallback reply, std::string_view message);

// The integer "processId" of a call's string-keyed arguments map. When there is
// none, answers "INVALID_ARGUMENT" with "Expected processId" and consumes
// `reply`; otherwise leaves `reply` untouched for the command to answer.
std::optional<std::int64_t> requireProcessId(const MethodCall& call, ReplyCallback& reply);

}  // namespace quillon
