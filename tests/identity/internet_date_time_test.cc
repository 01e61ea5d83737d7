#include "commands/internet_date_time.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(InternetDateTimeTest, AcceptsOnlyTheInternetForm) {
  const std::pair<const char*, std::int64_t> accepted[] = {
      {"2030-01-01T00:00:00Z", 1'893'456'000},      {"2025-03-31T23:59:59Z", 1'743'465'599},
      {"2025-03-31T23:59:59+02:00", 1'743'458'399}, {"2025-03-31T23:59:59-05:30", 1'743'485'399},
      {"2024-02-29T12:00:00Z", 1'709'208'000},      {"1970-01-01T00:00:00+00:00", 0},
      // Four-digit years at both ends, far past what nanoseconds hold.
      {"9999-12-31T23:59:59Z", 253'402'300'799},    {"0001-01-01T00:00:00Z", -62'135'596'800},
  };
  for (const auto& [text, epochSeconds] : accepted) {
    EXPECT_EQ(parseInternetDateTime(text), Instant(std::chrono::seconds(epochSeconds))) << text;
  }
  for (const char* text :
       {"2025-03-31", "2025-03-31T23:59:59", "2025-03-31T23:59:59.000Z", "2025-03-31T23:59Z", "2025-03-31 23:59:59Z",
        "2025-03-31t23:59:59Z", "2025-03-31T23:59:59z", "2025-03-31T23:59:59+0200", "2025-03-31T23:59:59+02",
        "2025-03-31T23:59:59+24:00", "2025-13-01T00:00:00Z", "2025-04-31T00:00:00Z", "2025-02-29T00:00:00Z",
        "2025-00-10T00:00:00Z", "2025-01-00T00:00:00Z", "2025-03-31T24:00:00Z", "2025-03-31T23:60:00Z",
        "2025-03-31T23:59:60Z", "20250331T235959Z", " 2025-03-31T23:59:59Z", "2025-03-31T23:59:59Z ",
        "+2025-03-31T23:59:59Z", "2025-3-31T23:59:59Z", ""}) {
    EXPECT_EQ(parseInternetDateTime(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace quillon
