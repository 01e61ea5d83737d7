// The process table as "/bin/ps -e -o pid" prints it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace quillon {

// A whole line's number: an optional "+" or "-", one or more ASCII digits and
// nothing else, within the 64-bit signed range.
std::optional<std::int64_t> parseDecimal(std::string_view text);

// Every line of `text` that holds a number once blanks are trimmed, in order;
// the header and any other line are dropped one by one.
std::vector<std::int64_t> parseProcessIdList(std::string_view text);

}  // namespace quillon
