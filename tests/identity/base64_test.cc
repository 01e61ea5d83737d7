#include "identity/base64.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(Base64Test, DecodesByTheStoreRules) {
  const Bytes man{'M', 'a', 'n'};
  const Bytes ma{'M', 'a'};
  const Bytes m{'M'};
  const std::pair<const char*, std::optional<Bytes>> cases[] = {
      {"", Bytes{}}, {"TWFu", man}, {"TWE=", ma}, {"TQ==", m}, {"TWFuTWFu", Bytes{'M', 'a', 'n', 'M', 'a', 'n'}},
      // Stray characters are skipped: line breaks, blanks, "-", "_", anything else.
      {"TW\nFu", man}, {" T W F u ", man}, {"TW\r\nE=\n", ma}, {"T-W_F*u", man}, {"TQ=\n=", m},
      {"\xc3\xa9TWFu", man}, {"/+8=", Bytes{0xff, 0xef}},
      // Unpadded text, a lone character, too much padding, padding in the middle.
      {"TWE", std::nullopt}, {"TQ", std::nullopt}, {"T", std::nullopt}, {"T===", std::nullopt},
      {"TQ===", std::nullopt}, {"====", std::nullopt}, {"TQ==TWFu", std::nullopt}, {"TWE=u", std::nullopt},
      {"TWFu=", std::nullopt},
      // URL-safe letters are not the alphabet: skipping them leaves a broken length.
      {"_-8=", std::nullopt},
  };
  for (const auto& [text, bytes] : cases) EXPECT_EQ(decodeBase64SkippingUnknown(text), bytes) << text;
}

}  // namespace
}  // namespace quillon
