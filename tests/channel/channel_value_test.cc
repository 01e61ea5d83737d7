#include "channel/channel_value.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "channel/channel_value_hash.h"

namespace quillon {
namespace {

// A pointer would otherwise take the bool constructor and send true. (That
// characters are text, every test that compares a reply to a literal holds.)
static_assert(!std::is_constructible_v<ChannelValue, std::string*>);
static_assert(!std::is_constructible_v<ChannelValue, const std::string*>);
static_assert(!std::is_constructible_v<ChannelValue, const ChannelValue*>);
static_assert(!std::is_constructible_v<ChannelValue, char*>);
static_assert(!std::is_constructible_v<ChannelValue, const int*>);
static_assert(std::is_constructible_v<ChannelValue, const char*>);

// Values that compare equal must hash alike, or a repeated map key slips by.
TEST(ChannelValueHashTest, EqualValuesHashAlike) {
  ChannelMap positive;
  positive.set("k", 0.0);
  ChannelMap negative;
  negative.set("k", -0.0);
  const std::vector<std::pair<ChannelValue, ChannelValue>> pairs = {
      {0.0, -0.0},
      {std::vector<double>{0.0, 1.5}, std::vector<double>{-0.0, 1.5}},
      {std::vector<float>{-0.0f}, std::vector<float>{0.0f}},
      {ChannelList{"a", -0.0}, ChannelList{"a", 0.0}},
      {positive, negative},
  };
  for (const auto& [a, b] : pairs) {
    ASSERT_EQ(a, b) << describe(a);
    EXPECT_EQ(hashValue(a), hashValue(b)) << describe(a);
  }
}

}  // namespace
}  // namespace quillon
