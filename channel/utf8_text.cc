#include "channel/utf8_text.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace quillon {
namespace {

// A byte with its high bit set in any lane of a word read as eight bytes.
constexpr std::uint64_t kHighBits = 0x8080'8080'8080'8080;
static_assert(std::endian::native == std::endian::little, "a word's first byte in memory is its lowest");

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }
bool isBetween(unsigned char byte, unsigned char low, unsigned char high) { return byte >= low && byte <= high; }

// The length of the well-formed sequence starting at `at` with the lead byte
// at or above 0x80, or 0 when there is none (Unicode's table 3-7: the second
// byte's range shuts out overlong forms, surrogates and code points beyond
// U+10FFFF).
std::size_t sequenceLength(const unsigned char* at, const unsigned char* end) {
  const unsigned char lead = at[0];
  const auto left = static_cast<std::size_t>(end - at);
  if (lead < 0xC2) return 0;  // a continuation byte, or the lead of an overlong two-byte form
  if (lead < 0xE0) return left >= 2 && isContinuation(at[1]) ? 2 : 0;
  if (lead < 0xF0) {
    if (left < 3) return 0;
    const unsigned char low = lead == 0xE0 ? 0xA0 : 0x80;
    const unsigned char high = lead == 0xED ? 0x9F : 0xBF;
    return isBetween(at[1], low, high) && isContinuation(at[2]) ? 3 : 0;
  }
  if (lead < 0xF5) {
    if (left < 4) return 0;
    const unsigned char low = lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char high = lead == 0xF4 ? 0x8F : 0xBF;
    return isBetween(at[1], low, high) && isContinuation(at[2]) && isContinuation(at[3]) ? 4 : 0;
  }
  return 0;
}

// The lanes of the eight bytes at `at` whose high bit is set.
std::uint64_t highBits(const unsigned char* at) {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return word & kHighBits;
}

// Where the ASCII run starting at `at` ends: eight bytes at a time, the last
// word overlapping the one before it, so that only bytes shorter than a word
// are taken one by one.
const unsigned char* skipAscii(const unsigned char* at, const unsigned char* end) {
  if (end - at < 8) {
    while (at != end && *at < 0x80) ++at;
    return at;
  }
  for (; end - at > 8; at += 8) {
    if (const std::uint64_t high = highBits(at)) return at + std::countr_zero(high) / 8;
  }
  // Its lanes before `at` were found ASCII already, so its first high bit lies at or after `at`.
  const unsigned char* last = end - 8;
  if (const std::uint64_t high = highBits(last)) return last + std::countr_zero(high) / 8;
  return end;
}

// The end of the longest run of text starting at `at`.
const unsigned char* textEnd(const unsigned char* at, const unsigned char* end) {
  for (;;) {
    at = skipAscii(at, end);
    if (at == end) return end;
    // Text that is not ASCII tends to come in runs: take them before looking for words again.
    do {
      const std::size_t length = sequenceLength(at, end);
      if (length == 0) return at;
      at += length;
    } while (at != end && *at >= 0x80);
  }
}

const unsigned char* begin(std::string_view bytes) { return reinterpret_cast<const unsigned char*>(bytes.data()); }

}  // namespace

bool isUtf8Text(std::string_view bytes) {
  const unsigned char* end = begin(bytes) + bytes.size();
  return textEnd(begin(bytes), end) == end;
}

std::string toUtf8Text(std::string_view bytes) {
  static constexpr std::string_view kReplacement = "\uFFFD";
  std::string text;
  text.reserve(bytes.size());
  const unsigned char* at = begin(bytes);
  const unsigned char* end = at + bytes.size();
  for (;;) {
    const unsigned char* good = textEnd(at, end);
    text.append(reinterpret_cast<const char*>(at), static_cast<std::size_t>(good - at));
    if (good == end) return text;
    text += kReplacement;  // for the one byte that starts no sequence
    at = good + 1;
  }
}

}  // namespace quillon
