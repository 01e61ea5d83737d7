#include "identity/base64.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Base64Case {
  const char* text;
  std::optional<Bytes> expected;
};

void PrintTo(const Base64Case& testCase, std::ostream* out) { *out << '"' << testCase.text << '"'; }

class Base64Test : public ::testing::TestWithParam<Base64Case> {};

TEST_P(Base64Test, DecodesByTheStoreRules) {
  EXPECT_EQ(decodeBase64SkippingUnknown(GetParam().text), GetParam().expected) << GetParam().text;
}

const Bytes kMan{'M', 'a', 'n'};
const Bytes kMa{'M', 'a'};
const Bytes kM{'M'};

INSTANTIATE_TEST_SUITE_P(
    Cases, Base64Test,
    ::testing::Values(Base64Case{"", Bytes{}}, Base64Case{"TWFu", kMan}, Base64Case{"TWE=", kMa},
                      Base64Case{"TQ==", kM}, Base64Case{"TWFuTWFu", Bytes{'M', 'a', 'n', 'M', 'a', 'n'}},
                      // Stray characters are skipped: line breaks, blanks, "-", "_", anything else.
                      Base64Case{"TW\nFu", kMan}, Base64Case{" T W F u ", kMan}, Base64Case{"TW\r\nE=\n", kMa},
                      Base64Case{"T-W_F*u", kMan}, Base64Case{"TQ=\n=", kM}, Base64Case{"\xc3\xa9TWFu", kMan},
                      Base64Case{"/+8=", Bytes{0xff, 0xef}},
                      // Unpadded text, a lone character, too much padding, padding in the middle.
                      Base64Case{"TWE", std::nullopt}, Base64Case{"TQ", std::nullopt}, Base64Case{"T", std::nullopt},
                      Base64Case{"T===", std::nullopt}, Base64Case{"TQ===", std::nullopt},
                      Base64Case{"====", std::nullopt}, Base64Case{"TQ==TWFu", std::nullopt},
                      Base64Case{"TWE=u", std::nullopt}, Base64Case{"TWFu=", std::nullopt},
                      // URL-safe letters are not the alphabet: skipping them leaves a broken length.
                      Base64Case{"_-8=", std::nullopt}));

}  // namespace
}  // namespace quillon
