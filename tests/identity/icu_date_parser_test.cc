#include "platform/linux/icu_date_parser.h"

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

namespace quillon {
namespace {

using std::chrono::seconds;

constexpr const char* kPattern = "MMM d HH:mm:ss yyyy z";

struct DateCase {
  const char* text;
  std::optional<std::int64_t> epochSeconds;
};

void PrintTo(const DateCase& testCase, std::ostream* out) { *out << '"' << testCase.text << '"'; }

// The parser works in the process's locale and zone; the cases are written for
// English month names, and the zone must not matter when the text names one.
class IcuDateParserTest : public ::testing::TestWithParam<DateCase> {
 protected:
  static void SetUpTestSuite() {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("Europe/Berlin"));
  }
};

TEST_P(IcuDateParserTest, ReadsOpensslDates) {
  const auto parsed = IcuDateParser().parse(kPattern, GetParam().text);
  const auto expected =
      GetParam().epochSeconds ? std::optional<Instant>(Instant(seconds(*GetParam().epochSeconds))) : std::nullopt;
  EXPECT_EQ(parsed, expected) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, IcuDateParserTest,
    ::testing::Values(DateCase{"Jan  2 00:00:00 2030 GMT", 1'893'542'400},
                      DateCase{"Jan 2 00:00:00 2030 GMT", 1'893'542'400},
                      DateCase{"Jan 02 00:00:00 2030 GMT", 1'893'542'400},
                      DateCase{"Dec 31 23:59:59 2049 GMT", 2'524'607'999},
                      // What a certificate that never expires says (RFC 5280's 99991231235959Z).
                      DateCase{"Dec 31 23:59:59 9999 GMT", 253'402'300'799},
                      DateCase{"Jan  2 00:00:00 2030 GMT  \t", 1'893'542'400},
                      DateCase{"Jan  2 00:00:00 2030 UTC", 1'893'542'400},
                      DateCase{"Jan  2 01:00:00 2030 GMT+1", 1'893'542'400},
                      // Text after the date, impossible dates, missing parts.
                      DateCase{"Jan  2 00:00:00 2030 GMT trailing", {}},
                      DateCase{"Feb 30 00:00:00 2030 GMT", {}}, DateCase{"Jan  2 24:00:00 2030 GMT", {}},
                      DateCase{"Jan  2 00:00:00 GMT", {}}, DateCase{"2030-01-02T00:00:00Z", {}},
                      DateCase{"Could not open file", {}}, DateCase{"", {}},
                      DateCase{"Jan  2 00:00:00 999999999999 GMT", {}}));

}  // namespace
}  // namespace quillon
