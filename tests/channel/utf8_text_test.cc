#include "channel/utf8_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace quillon {
namespace {

using namespace std::string_literals;

TEST(Utf8TextTest, WellFormedSequencesAreTextAndNothingElseIs) {
  const std::string run(1000, 'a');
  const struct {
    const char* name;
    std::string bytes;
    bool text;
  } cases[] = {
      {"Empty", "", true}, {"AsciiWord", "12345678", true}, {"AsciiWordAndTail", "123456789", true},
      {"Nul", "a\0b"s, true}, {"LowestTwoByte", "\xC2\x80", true}, {"HighestTwoByte", "\xDF\xBF", true},
      {"LowestThreeByte", "\xE0\xA0\x80", true}, {"BelowSurrogates", "\xED\x9F\xBF", true},
      {"AboveSurrogates", "\xEE\x80\x80", true}, {"HighestThreeByte", "\xEF\xBF\xBF", true},
      {"LowestFourByte", "\xF0\x90\x80\x80", true}, {"HighestCodePoint", "\xF4\x8F\xBF\xBF", true},
      {"Mixed", "Gr\xC3\xBC\xC3\x9F" "e \xE6\x9D\xB1\xE4\xBA\xAC \xF0\x9F\x98\x80!", true},
      {"LongRunThenTwoByte", run + "\xC3\xA9", true},
      {"OverlongNul", "\xC0\x80", false}, {"OverlongTwoByte", "\xC1\xBF", false},
      {"OverlongThreeByte", "\xE0\x9F\xBF", false}, {"OverlongFourByte", "\xF0\x8F\xBF\xBF", false},
      {"LowestSurrogate", "\xED\xA0\x80", false}, {"HighestSurrogate", "\xED\xBF\xBF", false},
      {"BeyondHighestCodePoint", "\xF4\x90\x80\x80", false}, {"LeadF5", "\xF5\x80\x80\x80", false},
      {"LeadFF", "\xFF", false}, {"LoneContinuation", "\x80", false}, {"LastContinuation", "\xBF", false},
      {"SecondByteNotContinuation", "\xC3(", false}, {"ThirdByteNotContinuation", "\xE2\x82(", false},
      {"FourthByteNotContinuation", "\xF0\x90\x8C(", false},
      {"CutTwoByteAtTheEnd", "abcdefgh\xC3", false}, {"CutThreeByteAtTheEnd", "abcdefgh\xE2\x82", false},
      {"CutFourByteAtTheEnd", "abcdefghi\xF0\x9F\x98", false}, {"CutInTheLastWord", "abcde\xE2\x82", false},
      {"BadByteAfterALongRun", run + "\xFF" + run, false}, {"CutAfterALongRun", run + "\xE2\x82", false},
  };
  for (const auto& c : cases) EXPECT_EQ(isUtf8Text(c.bytes), c.text) << c.name;
}

// A sequence cut by the end of the bytes is not text, and the check reads nothing
// beyond them: each cut lies at the end of an allocation of its own, where
// AddressSanitizer stops a read past it.
TEST(Utf8TextTest, ASequenceCutByTheEndIsNotText) {
  for (const std::string_view whole : {"abcdefgh\xC3\xA9", "abcdefgh\xE2\x82\xAC", "abcdefgh\xF0\x9F\x98\x80"}) {
    for (std::size_t cut = 9; cut < whole.size(); ++cut) {
      const std::vector<char> bytes(whole.begin(), whole.begin() + cut);
      EXPECT_FALSE(isUtf8Text(std::string_view(bytes.data(), bytes.size()))) << cut;
    }
  }
}

// ASCII is taken eight bytes at a time, the last word overlapping the one
// before, and bytes fewer than a word one by one: whatever lane a byte lies
// in, it counts.
TEST(Utf8TextTest, EveryLaneOfEveryWordIsLookedAt) {
  for (const std::size_t length : std::initializer_list<std::size_t>{5, 8, 16, 19}) {
    for (std::size_t at = 0; at + 1 < length; ++at) {
      std::string bytes(length, 'a');
      bytes[at] = '\x80';
      EXPECT_FALSE(isUtf8Text(bytes)) << "lone continuation at " << at << " of " << length;
      bytes.replace(at, 2, "\xC3\xA9");
      EXPECT_TRUE(isUtf8Text(bytes)) << "two-byte sequence at " << at << " of " << length;
      bytes[at + 1] = '(';
      EXPECT_FALSE(isUtf8Text(bytes)) << "broken two-byte sequence at " << at << " of " << length;
    }
    EXPECT_FALSE(isUtf8Text(std::string(length - 1, 'a') + "\xFF")) << "bad last byte of " << length;
  }
}

TEST(Utf8TextTest, EachByteThatStartsNoSequenceBecomesAReplacementCharacter) {
  const std::pair<std::string, std::string> cases[] = {
      {"caf\xC3\xA9\0!"s, "caf\xC3\xA9\0!"s},
      {"caf\xE9", "caf\uFFFD"},
      {"\xC0\x80", "\uFFFD\uFFFD"},
      {"a\xE2\x82", "a\uFFFD\uFFFD"},
      {"\xF4\x90\x80\x80z", "\uFFFD\uFFFD\uFFFD\uFFFDz"},
      {"12345678\xFF\xF0\x9F\x98\x80", "12345678\uFFFD\xF0\x9F\x98\x80"},
  };
  for (const auto& [bytes, text] : cases) EXPECT_EQ(toUtf8Text(bytes), text);
}

}  // namespace
}  // namespace quillon
