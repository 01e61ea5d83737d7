// The process table as "/bin/ps -e -o pid" prints it.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace quillon {

// Every line of `text` that holds a number once blanks are trimmed, in order:
// an optional "+" or "-", one or more ASCII digits and nothing else, within
// the 64-bit signed range. The header and any other line are dropped one by one.
std::vector<std::int64_t> parseProcessIdList(std::string_view text);

}  // namespace quillon
