// A hash of ChannelValue that agrees with its equality: equal values hash
// alike (0.0 and -0.0 included), so that a decoder can find repeated map keys
// without comparing every pair.
#pragma once

#include <cstddef>

#include "channel/channel_value.h"

namespace quillon {

std::size_t hashValue(const ChannelValue& value);

}  // namespace quillon
