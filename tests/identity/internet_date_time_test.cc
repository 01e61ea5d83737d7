#include "commands/internet_date_time.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

using std::chrono::seconds;

struct DateTimeCase {
  const char* text;
  std::optional<std::int64_t> epochSeconds;
};

void PrintTo(const DateTimeCase& testCase, std::ostream* out) { *out << '"' << testCase.text << '"'; }

class InternetDateTimeTest : public ::testing::TestWithParam<DateTimeCase> {};

TEST_P(InternetDateTimeTest, AcceptsOnlyTheInternetForm) {
  const auto parsed = parseInternetDateTime(GetParam().text);
  const auto expected = GetParam().epochSeconds
                            ? std::optional<Instant>(Instant(seconds(*GetParam().epochSeconds)))
                            : std::nullopt;
  EXPECT_EQ(parsed, expected) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Accepted, InternetDateTimeTest,
    ::testing::Values(DateTimeCase{"2030-01-01T00:00:00Z", 1'893'456'000},
                      DateTimeCase{"2025-03-31T23:59:59Z", 1'743'465'599},
                      DateTimeCase{"2025-03-31T23:59:59+02:00", 1'743'458'399},
                      DateTimeCase{"2025-03-31T23:59:59-05:30", 1'743'485'399},
                      DateTimeCase{"2024-02-29T12:00:00Z", 1'709'208'000},
                      DateTimeCase{"1970-01-01T00:00:00+00:00", 0},
                      // Four-digit years at both ends, far past what nanoseconds hold.
                      DateTimeCase{"9999-12-31T23:59:59Z", 253'402'300'799},
                      DateTimeCase{"0001-01-01T00:00:00Z", -62'135'596'800}));

INSTANTIATE_TEST_SUITE_P(
    Refused, InternetDateTimeTest,
    ::testing::Values(DateTimeCase{"2025-03-31", {}}, DateTimeCase{"2025-03-31T23:59:59", {}},
                      DateTimeCase{"2025-03-31T23:59:59.000Z", {}}, DateTimeCase{"2025-03-31T23:59Z", {}},
                      DateTimeCase{"2025-03-31 23:59:59Z", {}}, DateTimeCase{"2025-03-31t23:59:59Z", {}},
                      DateTimeCase{"2025-03-31T23:59:59z", {}}, DateTimeCase{"2025-03-31T23:59:59+0200", {}},
                      DateTimeCase{"2025-03-31T23:59:59+02", {}}, DateTimeCase{"2025-03-31T23:59:59+24:00", {}},
                      DateTimeCase{"2025-13-01T00:00:00Z", {}}, DateTimeCase{"2025-04-31T00:00:00Z", {}},
                      DateTimeCase{"2025-02-29T00:00:00Z", {}}, DateTimeCase{"2025-00-10T00:00:00Z", {}},
                      DateTimeCase{"2025-01-00T00:00:00Z", {}}, DateTimeCase{"2025-03-31T24:00:00Z", {}},
                      DateTimeCase{"2025-03-31T23:60:00Z", {}}, DateTimeCase{"2025-03-31T23:59:60Z", {}},
                      DateTimeCase{"20250331T235959Z", {}}, DateTimeCase{" 2025-03-31T23:59:59Z", {}},
                      DateTimeCase{"2025-03-31T23:59:59Z ", {}}, DateTimeCase{"+2025-03-31T23:59:59Z", {}},
                      DateTimeCase{"2025-3-31T23:59:59Z", {}}, DateTimeCase{"", {}}));

}  // namespace
}  // namespace quillon
