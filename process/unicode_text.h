// The text rules of the process services, on UTF-8, with ICU's character data.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// The bytes as text, or nothing when they are not well-formed UTF-8
// (overlong forms, surrogates and truncated sequences included).
std::optional<std::string> decodeUtf8(const std::vector<std::uint8_t>& bytes);

// Without leading and trailing blanks: category Zs and U+0009. Line breaks stay.
std::string_view trimBlanks(std::string_view text);

// Without leading and trailing blanks and line breaks: category Z (Zs, Zl, Zp),
// U+0009 to U+000D and U+0085.
std::string_view trimBlanksAndLineBreaks(std::string_view text);

// Equal up to Unicode canonical equivalence: a precomposed letter equals its
// decomposed form. Case-sensitive, whole text.
bool canonicallyEqual(std::string_view a, std::string_view b);

}  // namespace quillon
