#include "commands/command_replies.h"

#include <string>

#include "commands/command_arguments.h"

namespace quillon {
namespace {

constexpr std::string_view kInvalidArgument = "INVALID_ARGUMENT";

}  // namespace

void answerInvalidArgument(ReplyCallback reply, std::string_view message) {
  std::move(reply).error(std::string(kInvalidArgument), std::string(message));
}

std::optional<std::int64_t> requireProcessId(const MethodCall& call, ReplyCallback& reply) {
  const auto arguments = CommandArguments::from(call.arguments);
  const auto processId = arguments ? arguments->integer("processId") : std::nullopt;
  if (!processId) answerInvalidArgument(std::move(reply), "Expected processId");
  return processId;
}

}  // namespace quillon
