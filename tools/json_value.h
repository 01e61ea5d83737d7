// Conversion between JSON text and the values of the standard codec, for the
// command line. JSON integers become 32-bit integers when they fit, else 64-bit
// (an unsigned one beyond 64-bit signed becomes a double); other numbers become
// doubles; objects become string-keyed maps in their written order. Typed lists
// come out as arrays; a map with a key that is not a string comes out as an
// object keyed by that key's JSON text; a non-finite double comes out as null.
#pragma once

#include <nlohmann/json.hpp>

#include "channel/channel_value.h"

namespace quillon {

using OrderedJson = nlohmann::ordered_json;

ChannelValue valueFromJson(const OrderedJson& json);
OrderedJson jsonFromValue(const ChannelValue& value);

}  // namespace quillon
