#include "traffic/one_line_text.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace quillon {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";     // U+2026

bool continuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// The length of the well-formed UTF-8 sequence at the front of `bytes`
// (Unicode's table of well-formed byte sequences), or 0.
std::size_t sequenceLength(std::string_view bytes) {
  const auto at = [&bytes](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
  const unsigned char lead = at(0);
  if (lead < 0x80) return 1;
  std::size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // the second byte's range
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;  // nothing beyond U+10FFFF
  } else {
    return 0;
  }
  if (bytes.size() < length || at(1) < low || at(1) > high) return 0;
  for (std::size_t index = 2; index < length; ++index) {
    if (!continuation(at(index))) return 0;
  }
  return length;
}

// The escape of a character that would break the line or hide itself, or
// nothing for one shown as it is.
std::string_view escapeOf(std::string_view character, bool quoted, std::array<char, 12>& buffer) {
  const auto first = static_cast<unsigned char>(character[0]);
  std::uint32_t code = 0;
  if (quoted && (character == "\"" || character == "\\")) return character == "\"" ? "\\\"" : "\\\\";
  if (character.size() == 1 && (first < 0x20 || first == 0x7F)) {
    if (first == '\n') return "\\n";
    if (first == '\r') return "\\r";
    if (first == '\t') return "\\t";
    code = first;
  } else if (character.size() == 2 && first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0) {
    code = static_cast<unsigned char>(character[1]);  // C1 controls, U+0080 to U+009F
  } else if (character == "\xE2\x80\xA8" || character == "\xE2\x80\xA9") {
    code = character[2] == '\xA8' ? 0x2028 : 0x2029;  // line and paragraph separators
  } else {
    return {};
  }
  const int written = std::snprintf(buffer.data(), buffer.size(), "\\u{%x}", code);
  return std::string_view(buffer.data(), static_cast<std::size_t>(written));
}

}  // namespace

void OneLineText::append(std::string_view text, bool quoted) {
  std::array<char, 12> escape{};
  while (!text.empty() && !cut_) {
    const std::size_t length = sequenceLength(text);
    if (length == 0) {
      appendCharacter(kReplacement);
      text.remove_prefix(1);
      continue;
    }
    const std::string_view character = text.substr(0, length);
    text.remove_prefix(length);
    const std::string_view escaped = escapeOf(character, quoted, escape);
    if (escaped.empty()) {
      appendCharacter(character);
    } else {
      for (std::size_t index = 0; index < escaped.size() && !cut_; ++index) appendCharacter(escaped.substr(index, 1));
    }
  }
}

void OneLineText::appendCharacter(std::string_view encoded) {
  if (count_ == width_) return cut();
  lastStart_ = text_.size();
  text_ += encoded;
  ++count_;
}

void OneLineText::cut() {
  text_.resize(lastStart_);
  text_ += kEllipsis;
  cut_ = true;
}

std::string oneLine(std::string_view text, std::size_t width) {
  OneLineText line(width);
  line.append(text);
  return std::move(line).take();
}

}  // namespace quillon
