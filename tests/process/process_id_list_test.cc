#include "process/process_id_list.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillon {
namespace {

using Ids = std::vector<std::int64_t>;

struct DecimalCase {
  std::string_view text;
  std::optional<std::int64_t> value;
};

TEST(ProcessIdListTest, ParsesStrictDecimals) {
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  const DecimalCase cases[] = {
      {"0", 0},
      {"97", 97},
      {"+42", 42},
      {"-7", -7},
      {"007", 7},
      {"9223372036854775807", kMax},
      {"-9223372036854775808", kMin},
      {"9223372036854775808", std::nullopt},
      {"-9223372036854775809", std::nullopt},
      {"18446744073709551616", std::nullopt},
      {"", std::nullopt},
      {"+", std::nullopt},
      {"-", std::nullopt},
      {"+-5", std::nullopt},
      {"--5", std::nullopt},
      {"1 2", std::nullopt},
      {"12a", std::nullopt},
      {"0x1F", std::nullopt},
      {" 12", std::nullopt},
      {"\xD9\xA3", std::nullopt},  // ARABIC-INDIC DIGIT THREE is not an ASCII digit
      {"PID", std::nullopt},
  };
  for (const DecimalCase& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(parseDecimal(c.text), c.value);
  }
}

struct ListCase {
  const char* name;
  std::string_view output;
  Ids ids;
};

TEST(ProcessIdListTest, KeepsEveryNumberLineInOrder) {
  const ListCase cases[] = {
      {"header and padded numbers", "    PID\n      1\n     97\n", {1, 97}},
      {"signs", "+42\n-7\n", {42, -7}},
      {"malformed lines dropped", "+\n1 2\n12a\n0x1F\n5\n", {5}},
      {"overflow dropped, neighbours kept", "3\n99999999999999999999\n4\n", {3, 4}},
      {"tabs and spaces trimmed", "\t 12 \t\n", {12}},
      {"blank lines and blank-only lines", "\n\n   \n\t\n8\n\n", {8}},
      {"duplicates stay in place", "5\n6\n5\n", {5, 6, 5}},
      {"no final line feed", "PID\n10", {10}},
      {"carriage return is not trimmed", "10\r\n11\n", {11}},
      {"empty output", "", {}},
      {"header only", "  PID\n", {}},
  };
  for (const ListCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(parseProcessIdList(c.output), c.ids);
  }
}

}  // namespace
}  // namespace quillon
