// The date text in what `openssl x509 -noout -enddate` prints
// ("notAfter=Jan  2 00:00:00 2030 GMT\n"): the last piece after the "=" signs,
// without the white space and line breaks around it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillon {

// Nothing when `output` is not UTF-8, or holds nothing but "=" characters.
// Trimmed from both ends: Unicode's separators (category Z), U+000A to U+000D
// and U+0085 (a tab is not among them).
std::optional<std::string> endDateText(const std::vector<std::uint8_t>& output);

}  // namespace quillon
