#include "tools/json_value.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(JsonValueTest, JsonTextBecomesChannelValues) {
  struct Case {
    const char* json;
    ChannelValue expected;
  };
  ChannelMap ordered;
  ordered.set("z", std::int32_t{1});
  ordered.set("a", ChannelList{nullptr, true});
  const std::vector<Case> cases = {
      {"null", nullptr},
      {"true", true},
      {"7", std::int32_t{7}},
      {"-2147483648", std::int32_t{-2147483648}},
      {"2147483648", std::int64_t{2147483648}},
      {"-9223372036854775808", std::int64_t{INT64_MIN}},
      {"18446744073709551615", 18446744073709551615.0},
      {"1.0", 1.0},
      {"2e3", 2000.0},
      {"\"ä\"", "ä"},
      {"[1, \"x\"]", ChannelList{std::int32_t{1}, "x"}},
      {R"({"z": 1, "a": [null, true]})", ordered},
  };
  for (const auto& testCase : cases) {
    EXPECT_EQ(valueFromJson(OrderedJson::parse(testCase.json)), testCase.expected) << testCase.json;
  }
}

TEST(JsonValueTest, ChannelValuesBecomeJsonText) {
  ChannelMap mixedKeys;
  mixedKeys.set("name", "x");
  mixedKeys.set(std::int32_t{3}, std::int64_t{1} << 40);
  struct Case {
    ChannelValue value;
    const char* json;
  };
  const std::vector<Case> cases = {
      {nullptr, "null"},
      {false, "false"},
      {std::int64_t{-5}, "-5"},
      {0.5, "0.5"},
      {"a\"b", R"("a\"b")"},
      {std::vector<std::uint8_t>{1, 255}, "[1,255]"},
      {std::vector<std::int32_t>{-1}, "[-1]"},
      {std::vector<std::int64_t>{}, "[]"},
      {std::vector<float>{0.5f}, "[0.5]"},
      {std::vector<double>{1.5, 2.0}, "[1.5,2.0]"},
      {ChannelList{ChannelList{}, ChannelMap{}}, "[[],{}]"},
      {mixedKeys, R"({"name":"x","3":1099511627776})"},
  };
  for (const auto& testCase : cases) {
    EXPECT_EQ(jsonFromValue(testCase.value).dump(), testCase.json) << describe(testCase.value);
  }
}

}  // namespace
}  // namespace quillon
