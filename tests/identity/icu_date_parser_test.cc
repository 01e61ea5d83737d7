#include "platform/linux/icu_date_parser.h"

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

namespace quillon {
namespace {

// The parser works in the process's locale and zone; the cases are written for
// English month names, and the zone must not matter when the text names one.
TEST(IcuDateParserTest, ReadsOpensslDates) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale("en_US"), status);
  icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("Europe/Berlin"));
  const std::pair<const char*, std::optional<std::int64_t>> cases[] = {
      {"Jan  2 00:00:00 2030 GMT", 1'893'542'400}, {"Jan 2 00:00:00 2030 GMT", 1'893'542'400},
      {"Jan 02 00:00:00 2030 GMT", 1'893'542'400}, {"Dec 31 23:59:59 2049 GMT", 2'524'607'999},
      // What a certificate that never expires says (99991231235959Z).
      {"Dec 31 23:59:59 9999 GMT", 253'402'300'799},
      {"Jan  2 00:00:00 2030 GMT  \t", 1'893'542'400}, {"Jan  2 00:00:00 2030 UTC", 1'893'542'400},
      {"Jan  2 01:00:00 2030 GMT+1", 1'893'542'400},
      // Text after the date, impossible dates, missing parts.
      {"Jan  2 00:00:00 2030 GMT trailing", {}}, {"Feb 30 00:00:00 2030 GMT", {}}, {"Jan  2 24:00:00 2030 GMT", {}},
      {"Jan  2 00:00:00 GMT", {}}, {"2030-01-02T00:00:00Z", {}}, {"Could not open file", {}}, {"", {}},
      {"Jan  2 00:00:00 999999999999 GMT", {}},
  };
  for (const auto& [text, epochSeconds] : cases) {
    const auto expected = epochSeconds ? std::optional<Instant>(Instant(std::chrono::seconds(*epochSeconds))) : std::nullopt;
    EXPECT_EQ(IcuDateParser().parse("MMM d HH:mm:ss yyyy z", text), expected) << text;
  }
}

}  // namespace
}  // namespace quillon
