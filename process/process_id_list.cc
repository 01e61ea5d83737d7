#include "process/process_id_list.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "process/unicode_text.h"

namespace quillon {
namespace {

bool isAsciiDigit(char c) { return c >= '0' && c <= '9'; }

// A whole line's number.
std::optional<std::int64_t> parseDecimal(std::string_view text) {
  const bool negative = !text.empty() && text.front() == '-';
  const std::string_view digits = (!text.empty() && (negative || text.front() == '+')) ? text.substr(1) : text;
  if (digits.empty() || !std::all_of(digits.begin(), digits.end(), isAsciiDigit)) return std::nullopt;
  // from_chars takes the minus sign itself, so the lowest value parses too.
  const std::string_view parsed = negative ? text : digits;
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(parsed.data(), parsed.data() + parsed.size(), value);
  if (error != std::errc{} || end != parsed.data() + parsed.size()) return std::nullopt;
  return value;
}

}  // namespace

std::vector<std::int64_t> parseProcessIdList(std::string_view text) {
  std::vector<std::int64_t> ids;
  while (!text.empty()) {
    const std::size_t lineEnd = std::min(text.find('\n'), text.size());
    if (const auto id = parseDecimal(trimBlanks(text.substr(0, lineEnd)))) ids.push_back(*id);
    text.remove_prefix(std::min(lineEnd + 1, text.size()));
  }
  return ids;
}

}  // namespace quillon
