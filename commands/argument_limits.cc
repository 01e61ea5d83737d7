#include "commands/argument_limits.h"

#include <string>

#include "commands/command_replies.h"

namespace quillon {
namespace {

// "Expected NAME of at most N bytes", and " without NUL" where NUL is not allowed.
std::string refusalOf(const TextLimit& limit) {
  return "Expected " + std::string(limit.name) + " of at most " + std::to_string(limit.longestBytes) + " bytes" +
         (limit.nulAllowed ? "" : " without NUL");
}

}  // namespace

bool keepsTo(const TextLimit& limit, std::string_view text) {
  return text.size() <= limit.longestBytes && (limit.nulAllowed || text.find('\0') == std::string_view::npos);
}

bool refuseBeyondLimit(const TextLimit& limit, std::string_view text, ReplyCallback& reply) {
  if (keepsTo(limit, text)) return false;
  answerInvalidArgument(std::move(reply), refusalOf(limit));
  return true;
}

}  // namespace quillon
