#include "commands/command_arguments.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

ChannelMap mapOf(std::initializer_list<std::pair<ChannelValue, ChannelValue>> entries) {
  ChannelMap map;
  for (const auto& [key, value] : entries) map.set(key, value);
  return map;
}

TEST(CommandArgumentsTest, OnlyMapsWithStringKeysAreArguments) {
  const std::vector<std::pair<const char*, ChannelValue>> refused = {
      {"null", ChannelValue()},
      {"string", ChannelValue("processId")},
      {"list", ChannelValue(ChannelList{ChannelValue("processId"), ChannelValue(1)})},
      {"integer key", ChannelValue(mapOf({{ChannelValue("processId"), ChannelValue(1)}, {ChannelValue(2), ChannelValue(3)}}))},
  };
  for (const auto& [label, value] : refused) {
    EXPECT_FALSE(CommandArguments::from(value).has_value()) << label;
  }
  EXPECT_TRUE(CommandArguments::from(ChannelValue(ChannelMap{})).has_value());
}

TEST(CommandArgumentsTest, IntegerKeysTakeOnlyIntegers) {
  const ChannelValue value(mapOf({{"small", ChannelValue(std::int32_t{-5})},
                                  {"large", ChannelValue(std::int64_t{1} << 40)},
                                  {"double", ChannelValue(3.0)},
                                  {"bool", ChannelValue(true)},
                                  {"text", ChannelValue("12")},
                                  {"null", ChannelValue()}}));
  const auto arguments = CommandArguments::from(value);
  ASSERT_TRUE(arguments);
  EXPECT_EQ(arguments->integer("small"), -5);
  EXPECT_EQ(arguments->integer("large"), std::int64_t{1} << 40);
  for (const char* key : {"double", "bool", "text", "null", "absent"}) {
    EXPECT_FALSE(arguments->integer(key).has_value()) << key;
  }
}

TEST(CommandArgumentsTest, StringKeysTakeOnlyStringsUnchanged) {
  const ChannelValue value(mapOf({{"name", ChannelValue(" Finder ")}, {"number", ChannelValue(1)}}));
  const auto arguments = CommandArguments::from(value);
  ASSERT_TRUE(arguments);
  ASSERT_NE(arguments->string("name"), nullptr);
  EXPECT_EQ(*arguments->string("name"), " Finder ");
  EXPECT_EQ(arguments->string("number"), nullptr);
  EXPECT_EQ(arguments->string("Name"), nullptr);
}

TEST(CommandArgumentsTest, PresentValueIncludesNull) {
  const ChannelValue value(mapOf({{"timeout", ChannelValue()}}));
  const auto arguments = CommandArguments::from(value);
  ASSERT_TRUE(arguments);
  ASSERT_NE(arguments->present("timeout"), nullptr);
  EXPECT_TRUE(arguments->present("timeout")->isNull());
  EXPECT_EQ(arguments->present("title"), nullptr);
}

}  // namespace
}  // namespace quillon
