#include "identity/end_date_text.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

struct EndDateCase {
  std::string output;
  std::optional<std::string> expected;
};

void PrintTo(const EndDateCase& testCase, std::ostream* out) { *out << ::testing::PrintToString(testCase.output); }

class EndDateTextTest : public ::testing::TestWithParam<EndDateCase> {};

TEST_P(EndDateTextTest, TakesTheTrimmedLastPiece) {
  const std::vector<std::uint8_t> bytes(GetParam().output.begin(), GetParam().output.end());
  EXPECT_EQ(endDateText(bytes), GetParam().expected) << GetParam().output;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, EndDateTextTest,
    ::testing::Values(
        EndDateCase{"notAfter=Jan  2 00:00:00 2030 GMT\n", "Jan  2 00:00:00 2030 GMT"},
        EndDateCase{"a=b=c=Mar 31 23:59:59 2031 GMT", "Mar 31 23:59:59 2031 GMT"},
        EndDateCase{"notAfter=Jan 2 00:00:00 2030 GMT==", "Jan 2 00:00:00 2030 GMT"},
        EndDateCase{"==x", "x"}, EndDateCase{"no sign at all \r\n", "no sign at all"},
        EndDateCase{"=  \t date \t\n ", "\t date \t"},
        // U+0085, U+2028 and U+00A0 are trimmed; they are all white space or line breaks.
        EndDateCase{"=\xc2\x85\xe2\x80\xa8\xc2\xa0" "date\xc2\xa0", "date"},
        EndDateCase{"= \n", ""}, EndDateCase{"", std::nullopt}, EndDateCase{"===", std::nullopt},
        EndDateCase{"notAfter=\xff\xfe", std::nullopt}, EndDateCase{"\xc3(=date", std::nullopt}));

}  // namespace
}  // namespace quillon
