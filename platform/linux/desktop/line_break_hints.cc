#include "platform/linux/desktop/line_break_hints.h"

#include <glib.h>

#include <vector>

namespace quillon {

namespace {

constexpr gunichar kZeroWidthSpace = 0x200B;
constexpr gunichar kZeroWidthJoiner = 0x200D;
constexpr std::string_view kZeroWidthSpaceText = "\u200B";

// Where a line may already end, so a run starts again after it.
bool endsRun(gunichar character) { return g_unichar_isspace(character) || character == kZeroWidthSpace; }

// A hint between these two would split what the eye sees as one character.
bool joined(gunichar before, gunichar after) { return before == kZeroWidthJoiner || g_unichar_ismark(after); }

struct Run {
  std::size_t start;       // byte offset of the run's first character
  std::vector<std::size_t> characterEnds;  // byte offset after each character
};

void appendRun(std::string& out, std::string_view text, const Run& run) {
  std::size_t from = run.start;
  if (run.characterEnds.size() <= kLongestRunLeftWhole) {
    out.append(text.substr(from, run.characterEnds.back() - from));
    return;
  }
  std::size_t sinceHint = 0;
  gunichar before = 0;
  for (const std::size_t end : run.characterEnds) {
    const gunichar character = g_utf8_get_char(text.data() + from);
    if (sinceHint >= kHintEvery && !joined(before, character)) {
      out.append(kZeroWidthSpaceText);
      sinceHint = 0;
    }
    out.append(text.substr(from, end - from));
    ++sinceHint;
    before = character;
    from = end;
  }
}

}  // namespace

std::string withLineBreakHints(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  Run run{0, {}};
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = static_cast<std::size_t>(g_utf8_next_char(text.data() + at) - text.data());
    if (endsRun(g_utf8_get_char(text.data() + at))) {
      if (!run.characterEnds.empty()) appendRun(out, text, run);
      out.append(text.substr(at, end - at));
      run = Run{end, {}};
    } else {
      run.characterEnds.push_back(end);
    }
    at = end;
  }
  if (!run.characterEnds.empty()) appendRun(out, text, run);
  return out;
}

}  // namespace quillon
