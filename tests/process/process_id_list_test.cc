#include "process/process_id_list.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillon {
namespace {

TEST(ProcessIdListTest, ParsesStrictDecimals) {
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  const std::pair<std::string_view, std::optional<std::int64_t>> cases[] = {
      {"0", 0}, {"97", 97}, {"+42", 42}, {"-7", -7}, {"007", 7},
      {"9223372036854775807", kMax}, {"-9223372036854775808", kMin},
      {"9223372036854775808", std::nullopt}, {"-9223372036854775809", std::nullopt},
      {"18446744073709551616", std::nullopt}, {"", std::nullopt}, {"+", std::nullopt}, {"-", std::nullopt},
      {"+-5", std::nullopt}, {"--5", std::nullopt}, {"1 2", std::nullopt}, {"12a", std::nullopt},
      {"0x1F", std::nullopt}, {" 12", std::nullopt}, {"PID", std::nullopt},
      {"\xD9\xA3", std::nullopt},  // ARABIC-INDIC DIGIT THREE is not an ASCII digit
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(parseDecimal(text), value) << text;
}

TEST(ProcessIdListTest, KeepsEveryNumberLineInOrder) {
  const std::pair<std::string_view, std::vector<std::int64_t>> cases[] = {
      {"    PID\n      1\n     97\n", {1, 97}},
      {"+42\n-7\n", {42, -7}},
      {"+\n1 2\n12a\n0x1F\n5\n", {5}},               // malformed lines dropped
      {"3\n99999999999999999999\n4\n", {3, 4}},     // overflow dropped, neighbours kept
      {"\t 12 \t\n", {12}},
      {"\n\n   \n\t\n8\n\n", {8}},
      {"5\n6\n5\n", {5, 6, 5}},                     // duplicates stay in place
      {"PID\n10", {10}},                            // no final line feed
      {"10\r\n11\n", {11}},                         // carriage return is not trimmed
      {"", {}},
      {"  PID\n", {}},
  };
  for (const auto& [output, ids] : cases) EXPECT_EQ(parseProcessIdList(output), ids) << output;
}

}  // namespace
}  // namespace quillon
