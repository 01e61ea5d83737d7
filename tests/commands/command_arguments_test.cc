#include "commands/command_arguments.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

ChannelValue mapOf(std::initializer_list<std::pair<ChannelValue, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

TEST(CommandArgumentsTest, OnlyMapsWithStringKeysAreArguments) {
  for (const ChannelValue& refused : {ChannelValue(), ChannelValue("processId"), ChannelValue(ChannelList{"processId", 1}),
                                      mapOf({{"processId", 1}, {2, 3}})}) {
    EXPECT_FALSE(CommandArguments::from(refused).has_value());
  }
  EXPECT_TRUE(CommandArguments::from(ChannelMap{}).has_value());
}

TEST(CommandArgumentsTest, EachKindTakesOnlyItsOwnValues) {
  const ChannelValue value = mapOf({{"small", std::int32_t{-5}}, {"large", std::int64_t{1} << 40}, {"double", 3.0},
                                   {"bool", true}, {"text", " Finder "}, {"null", nullptr}});
  const auto arguments = CommandArguments::from(value);  // a view of `value`
  ASSERT_TRUE(arguments);
  EXPECT_EQ(arguments->integer("small"), -5);
  EXPECT_EQ(arguments->integer("large"), std::int64_t{1} << 40);
  for (const char* key : {"double", "bool", "text", "null", "absent"}) EXPECT_EQ(arguments->integer(key), std::nullopt) << key;
  ASSERT_NE(arguments->string("text"), nullptr);
  EXPECT_EQ(*arguments->string("text"), " Finder ");
  for (const char* key : {"small", "null", "Text"}) EXPECT_EQ(arguments->string(key), nullptr) << key;
  ASSERT_NE(arguments->present("null"), nullptr);
  EXPECT_TRUE(arguments->present("null")->isNull());
  EXPECT_EQ(arguments->present("absent"), nullptr);
}

}  // namespace
}  // namespace quillon
