// The answers that the catalogues share.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "channel/method_call.h"
#include "channel/reply_callback.h"
#include "commands/command.h"

namespace quillon {

// Answers "INVALID_ARGUMENT" with `message` and null details.
void answerInvalidArgument(ReplyCallback reply, std::string_view message);

// The integer "processId" of a call's string-keyed arguments map. When there is
// none, answers "INVALID_ARGUMENT" with "Expected processId" and consumes
// `reply`; otherwise leaves `reply` untouched for the command to answer.
std::optional<std::int64_t> requireProcessId(const MethodCall& call, ReplyCallback& reply);

// The answer that `operation` gives through the completion it is handed, on
// the thread it runs on: for an operation that answers before it returns,
// run as a job of BlockingWork.
template <typename Operation>
ChannelReply answerGiven(Operation operation) {
  std::optional<ChannelReply> answer;
  // An operation that drops its completion answers not-implemented through it.
  operation(ReplyCallback([&answer](ChannelReply given) { answer = std::move(given); }));
  return answer ? *std::move(answer) : ChannelReply::notImplemented();
}

// A command without arguments that answers the text `read` gives for
// `services`, which must outlive the command.
template <typename Services>
CommandHandler answerText(const Services& services, std::string (*read)(const Services&)) {
  return [&services, read](const MethodCall&, ReplyCallback reply) { std::move(reply).success(read(services)); };
}

}  // namespace quillon
