// The one answer to a MethodCall: success with a value, an error, or not-implemented.
#pragma once

#include <string>
#include <variant>

#include "channel/channel_value.h"

namespace quillon {

struct ChannelError {
  std::string code;
  std::string message;
  ChannelValue details;

  friend bool operator==(const ChannelError&, const ChannelError&) = default;
};

class ChannelReply {
 public:
  static ChannelReply success(ChannelValue value = {}) { return ChannelReply(std::move(value)); }
  static ChannelReply error(std::string code, std::string message, ChannelValue details = {}) {
    return ChannelReply(ChannelError{std::move(code), std::move(message), std::move(details)});
  }
  static ChannelReply notImplemented() { return ChannelReply(NotImplemented{}); }

  bool isSuccess() const { return std::holds_alternative<ChannelValue>(reply_); }
  bool isError() const { return std::holds_alternative<ChannelError>(reply_); }
  bool isNotImplemented() const { return std::holds_alternative<NotImplemented>(reply_); }

  // Valid only for the matching kind.
  const ChannelValue& value() const { return std::get<ChannelValue>(reply_); }
  const ChannelError& error() const { return std::get<ChannelError>(reply_); }

  friend bool operator==(const ChannelReply&, const ChannelReply&) = default;

 private:
  struct NotImplemented {
    friend bool operator==(const NotImplemented&, const NotImplemented&) = default;
  };
  using Reply = std::variant<ChannelValue, ChannelError, NotImplemented>;
  explicit ChannelReply(Reply reply) : reply_(std::move(reply)) {}

  Reply reply_;
};

std::string describe(const ChannelReply& reply);
void PrintTo(const ChannelReply& reply, std::ostream* out);

}  // namespace quillon
