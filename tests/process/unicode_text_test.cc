#include "process/unicode_text.h"

#include <gtest/gtest.h>

#include <tuple>

namespace quillon {
namespace {

TEST(UnicodeTextTest, DecodesOnlyWellFormedUtf8) {
  const std::pair<std::string_view, bool> cases[] = {
      {"", true}, {"sleep\n", true}, {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", true}, {std::string_view("a\0b", 3), true},
      {"\x80", false},              // lone continuation byte
      {"\xC0\xAF", false},          // overlong slash
      {"\xED\xA0\x80", false},      // encoded surrogate
      {"abc\xE2\x82", false},       // truncated at the end
      {"\xFF", false}, {"\xF4\x90\x80\x80", false},  // beyond U+10FFFF
  };
  for (const auto& [input, valid] : cases) {
    const auto decoded = decodeUtf8(std::vector<std::uint8_t>(input.begin(), input.end()));
    EXPECT_EQ(decoded, valid ? std::optional<std::string>(input) : std::nullopt) << ::testing::PrintToString(input);
  }
}

// Input, then the text with blanks trimmed, then with blanks and line breaks trimmed.
TEST(UnicodeTextTest, TrimsBlanksAndOptionallyLineBreaks) {
  const std::tuple<std::string_view, std::string_view, std::string_view> cases[] = {
      {"12", "12", "12"},
      {"\t 12 \t", "12", "12"},
      {" a  b ", "a  b", "a  b"},
      {" \t ", "", ""},
      {"\xC2\xA0" "12\xE3\x80\x80", "12", "12"},  // no-break and ideographic spaces are Zs
      {"12\n", "12\n", "12"},
      {"\r\v\f12\r\n", "\r\v\f12\r\n", "12"},
      {"\xC2\x85" "x", "\xC2\x85" "x", "x"},  // next line U+0085
      {"\xE2\x80\xA8x\xE2\x80\xA9", "\xE2\x80\xA8x\xE2\x80\xA9", "x"},  // line and paragraph separators
      {"\xE2\x80\x8Bx", "\xE2\x80\x8Bx", "\xE2\x80\x8Bx"},                // zero-width space is no white space
      {" \xC3\xA9t\xC3\xA9 ", "\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},
  };
  for (const auto& [input, blanksTrimmed, allTrimmed] : cases) {
    EXPECT_EQ(trimBlanks(input), blanksTrimmed);
    EXPECT_EQ(trimBlanksAndLineBreaks(input), allTrimmed);
  }
}

TEST(UnicodeTextTest, ComparesUpToCanonicalEquivalence) {
  const std::tuple<std::string_view, std::string_view, bool> cases[] = {
      {"Finder", "Finder", true},
      {"Caf\xC3\xA9", "Cafe\xCC\x81", true},             // precomposed against decomposed
      {"\xE2\x84\xAB", "\xC3\x85", true},                  // angstrom sign against A with ring
      {"a\xCC\xA3\xCC\x87", "a\xCC\x87\xCC\xA3", true},  // combining marks in either order
      {"finder", "Finder", false}, {"Finder ", "Finder", false}, {"Find", "Finder", false},
      {"\xEF\xAC\x81le", "file", false},  // a compatibility ligature is not canonical
      {"", "", true},
  };
  for (const auto& [a, b, equal] : cases) {
    EXPECT_EQ(canonicallyEqual(a, b), equal) << a << " " << b;
    EXPECT_EQ(canonicallyEqual(b, a), equal) << a << " " << b;
  }
}

}  // namespace
}  // namespace quillon
