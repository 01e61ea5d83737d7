// A received method call: the method name and its arguments (null when absent).
#pragma once

#include <string>

#include "channel/channel_value.h"

namespace quillon {

struct MethodCall {
  std::string method;
  ChannelValue arguments;

  friend bool operator==(const MethodCall&, const MethodCall&) = default;
};

}  // namespace quillon
