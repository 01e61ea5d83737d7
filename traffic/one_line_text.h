// OneLineText: text built for one line of a list, at most a given number of
// characters (code points) long. Line ends, tabs and other control characters
// (C0, DEL, C1, U+2028 and U+2029) are written as escapes ("\n", "\t",
// "\u{1b}"), bytes that are not UTF-8 as U+FFFD, so the result is valid UTF-8
// on one line. Text beyond the width is cut, its last character replaced by
// "…".
//
// Contract: the cost of each append() is bounded by the width, not by the
// length of what is appended: once full, the text takes nothing more, and
// whoever builds it should stop walking its source (full()).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillon {

class OneLineText {
 public:
  explicit OneLineText(std::size_t width) : width_(width) {}

  // With `quoted`, a quotation mark and a backslash are escaped too (\" and \\).
  void append(std::string_view text, bool quoted = false);
  // Whether the text is cut: nothing more will be taken.
  bool full() const { return cut_; }
  std::string take() && { return std::move(text_); }

 private:
  void appendCharacter(std::string_view encoded);
  void cut();

  std::size_t width_;
  std::size_t count_ = 0;      // characters written
  std::size_t lastStart_ = 0;  // where the last character written starts
  bool cut_ = false;
  std::string text_;
};

// `text` on one line, cut to `width` characters.
std::string oneLine(std::string_view text, std::size_t width);

}  // namespace quillon
