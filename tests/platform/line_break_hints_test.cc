#include "platform/linux/desktop/line_break_hints.h"

#include <gtest/gtest.h>

#include <string>

namespace quillon {
namespace {

constexpr std::string_view kHint = "\u200B";

std::string repeated(std::string_view piece, std::size_t times) {
  std::string text;
  for (std::size_t i = 0; i < times; ++i) text += piece;
  return text;
}

std::string withoutHints(std::string text) {
  for (std::size_t at = text.find(kHint); at != std::string::npos; at = text.find(kHint, at)) {
    text.erase(at, kHint.size());
  }
  return text;
}

std::size_t hintCount(const std::string& text) { return (text.size() - withoutHints(text).size()) / kHint.size(); }

TEST(LineBreakHintsTest, OnlyRunsThatCanNeverFitALineGetHints) {
  const std::string longest = repeated("W", kLongestRunLeftWhole);
  struct Case {
    std::string text;
    std::size_t hints;
  };
  for (const auto& [text, hints] : {
           Case{"", 0},
           Case{"The certificate expires on Monday.", 0},
           Case{longest, 0},
           Case{longest + " " + longest, 0},
           Case{longest + "\u200B" + longest, 0},
           // 129 characters: a hint before the 17th, the 33rd, ... the 129th.
           Case{longest + "W", 8},
           Case{"see " + repeated("é", 160) + " here", 9},
           Case{repeated("日本", 100), 12},
       }) {
    SCOPED_TRACE(text);
    const std::string hinted = withLineBreakHints(text);
    EXPECT_EQ(hintCount(hinted) - hintCount(text), hints);
    EXPECT_EQ(withoutHints(hinted), withoutHints(text));
  }
}

TEST(LineBreakHintsTest, HintsFallEveryFewCharactersOfALongRun) {
  const std::string hinted = withLineBreakHints(repeated("x", 2 * kLongestRunLeftWhole));
  EXPECT_EQ(hinted.substr(0, kHintEvery + kHint.size() + 1), repeated("x", kHintEvery) + std::string(kHint) + "x");
}

// A mark belongs to the character before it, and a joiner to both of its
// neighbours: a hint between them would tear an accented letter or an emoji apart.
TEST(LineBreakHintsTest, NoHintSplitsWhatTheEyeSeesAsOneCharacter) {
  struct Case {
    std::string_view name;
    std::string unit;
    std::string_view forbiddenAfterHint;
  };
  for (const auto& [name, unit, forbidden] : {
           // Three characters a unit, so that the 17th of a run is a mark.
           Case{"combining accents", "e\u0301\u0323", "\u0301"},
           Case{"a joined emoji", "\U0001F469\u200D\U0001F4BB", "\U0001F4BB"},
       }) {
    SCOPED_TRACE(name);
    const std::string hinted = withLineBreakHints(repeated(unit, kLongestRunLeftWhole));
    EXPECT_GT(hintCount(hinted), 0U);
    EXPECT_EQ(hinted.find(std::string(kHint) + std::string(forbidden)), std::string::npos);
  }
}

}  // namespace
}  // namespace quillon
