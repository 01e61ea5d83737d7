// Pango lays out a run of text without a break opportunity (a long word, a
// hash, a URL) in time that grows with the square of its length, and GTK lays
// out a wrapping label many times over: one kilobyte in one word holds the
// main loop for a second. withLineBreakHints() gives such runs a zero-width
// space every kHintEvery characters, where Pango may then break at once; the
// text looks the same, and words that could fit a line are left whole.
//
// The alert's labels and the measurement of their height both use it, so
// that what is measured is what is shown. `text` must be UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillon {

// A run longer than this never fits one line of the alert, whatever its
// glyphs: it is broken inside anyway, and only there are hints added.
inline constexpr std::size_t kLongestRunLeftWhole = 128;
inline constexpr std::size_t kHintEvery = 16;

std::string withLineBreakHints(std::string_view text);

}  // namespace quillon
