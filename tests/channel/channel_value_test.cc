#include "channel/channel_value.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace quillon {
namespace {

// A pointer would otherwise take the bool constructor and send true.
static_assert(!std::is_constructible_v<ChannelValue, std::string*>);
static_assert(!std::is_constructible_v<ChannelValue, const std::string*>);
static_assert(!std::is_constructible_v<ChannelValue, const ChannelValue*>);
static_assert(!std::is_constructible_v<ChannelValue, char*>);
static_assert(!std::is_constructible_v<ChannelValue, const int*>);

TEST(ChannelValueTest, CharactersAreText) {
  const char* literal = "pid";
  EXPECT_EQ(ChannelValue(literal), ChannelValue(std::string("pid")));
  EXPECT_EQ(ChannelValue("pid"), ChannelValue(std::string("pid")));
  EXPECT_EQ(ChannelValue(nullptr), ChannelValue());
}

}  // namespace
}  // namespace quillon
