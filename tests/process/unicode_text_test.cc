#include "process/unicode_text.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

std::vector<std::uint8_t> bytes(std::string_view text) { return {text.begin(), text.end()}; }

struct DecodeCase {
  const char* name;
  std::string_view input;
  bool valid;
};

TEST(UnicodeTextTest, DecodesOnlyWellFormedUtf8) {
  const DecodeCase cases[] = {
      {"empty", "", true},
      {"ascii", "sleep\n", true},
      {"two, three and four bytes", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", true},
      {"embedded zero", std::string_view("a\0b", 3), true},
      {"lone continuation byte", "\x80", false},
      {"overlong slash", "\xC0\xAF", false},
      {"encoded surrogate", "\xED\xA0\x80", false},
      {"truncated sequence at the end", "abc\xE2\x82", false},
      {"byte FF", "\xFF", false},
      {"beyond U+10FFFF", "\xF4\x90\x80\x80", false},
  };
  for (const DecodeCase& c : cases) {
    SCOPED_TRACE(c.name);
    const auto decoded = decodeUtf8(bytes(c.input));
    EXPECT_EQ(decoded.has_value(), c.valid);
    if (decoded) {
      EXPECT_EQ(*decoded, c.input);
    }
  }
}

struct TrimCase {
  const char* name;
  std::string_view input;
  std::string_view blanksTrimmed;
  std::string_view blanksAndBreaksTrimmed;
};

TEST(UnicodeTextTest, TrimsBlanksAndOptionallyLineBreaks) {
  const TrimCase cases[] = {
      {"nothing to trim", "12", "12", "12"},
      {"tab and space around", "\t 12 \t", "12", "12"},
      {"inner blanks stay", " a  b ", "a  b", "a  b"},
      {"only blanks", " \t ", "", ""},
      {"no-break space and ideographic space are Zs", "\xC2\xA0" "12\xE3\x80\x80", "12", "12"},
      {"line feed is not a blank", "12\n", "12\n", "12"},
      {"carriage return, vertical tab, form feed", "\r\v\f12\r\n", "\r\v\f12\r\n", "12"},
      {"next line U+0085", "\xC2\x85" "x", "\xC2\x85" "x", "x"},
      {"line and paragraph separators", "\xE2\x80\xA8x\xE2\x80\xA9", "\xE2\x80\xA8x\xE2\x80\xA9", "x"},
      {"zero-width space is not whitespace", "\xE2\x80\x8Bx", "\xE2\x80\x8Bx", "\xE2\x80\x8Bx"},
      {"letters with multibyte forms kept", " \xC3\xA9t\xC3\xA9 ", "\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},
  };
  for (const TrimCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(trimBlanks(c.input), c.blanksTrimmed);
    EXPECT_EQ(trimBlanksAndLineBreaks(c.input), c.blanksAndBreaksTrimmed);
  }
}

struct EqualityCase {
  const char* name;
  std::string_view a;
  std::string_view b;
  bool equal;
};

TEST(UnicodeTextTest, ComparesUpToCanonicalEquivalence) {
  const EqualityCase cases[] = {
      {"same text", "Finder", "Finder", true},
      {"precomposed against decomposed", "Caf\xC3\xA9", "Cafe\xCC\x81", true},
      {"angstrom sign against A with ring", "\xE2\x84\xAB", "\xC3\x85", true},
      {"combining marks in either order", "a\xCC\xA3\xCC\x87", "a\xCC\x87\xCC\xA3", true},
      {"letter case differs", "finder", "Finder", false},
      {"trailing blank", "Finder ", "Finder", false},
      {"prefix only", "Find", "Finder", false},
      {"compatibility ligature is not canonical", "\xEF\xAC\x81le", "file", false},
      {"empty against empty", "", "", true},
  };
  for (const EqualityCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(canonicallyEqual(c.a, c.b), c.equal);
    EXPECT_EQ(canonicallyEqual(c.b, c.a), c.equal);
  }
}

}  // namespace
}  // namespace quillon
