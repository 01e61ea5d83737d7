#include "identity/base64.h"

#include <array>

namespace quillon {

namespace {

constexpr int kNotInAlphabet = -1;

constexpr std::array<int, 256> makeAlphabet() {
  std::array<int, 256> values{};
  values.fill(kNotInAlphabet);
  constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<int>(i);
  return values;
}

constexpr std::array<int, 256> kAlphabetValue = makeAlphabet();

}  // namespace

std::optional<std::vector<std::uint8_t>> decodeBase64SkippingUnknown(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  int bitCount = 0;
  std::size_t symbols = 0;
  std::size_t padding = 0;
  for (const char character : text) {
    if (character == '=') {
      ++padding;
      continue;
    }
    const int value = kAlphabetValue[static_cast<unsigned char>(character)];
    if (value == kNotInAlphabet) continue;
    if (padding != 0) return std::nullopt;
    ++symbols;
    bits = (bits << 6) | static_cast<std::uint32_t>(value);
    bitCount += 6;
    if (bitCount >= 8) {
      bitCount -= 8;
      bytes.push_back(static_cast<std::uint8_t>(bits >> bitCount));
      bits &= (1U << bitCount) - 1U;
    }
  }
  // At most two "=" also rules out a last group of one character, which would
  // carry no whole byte.
  if (padding > 2 || (symbols + padding) % 4 != 0) return std::nullopt;
  return bytes;
}

}  // namespace quillon
