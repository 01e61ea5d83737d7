#include "identity/end_date_text.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(EndDateTextTest, TakesTheTrimmedLastPiece) {
  const std::pair<std::string, std::optional<std::string>> cases[] = {
      {"notAfter=Jan  2 00:00:00 2030 GMT\n", "Jan  2 00:00:00 2030 GMT"},
      {"a=b=c=Mar 31 23:59:59 2031 GMT", "Mar 31 23:59:59 2031 GMT"},
      {"notAfter=Jan 2 00:00:00 2030 GMT==", "Jan 2 00:00:00 2030 GMT"},
      {"==x", "x"}, {"no sign at all \r\n", "no sign at all"}, {"=  \t date \t\n ", "\t date \t"},
      // U+0085, U+2028 and U+00A0 are trimmed; they are all white space or line breaks.
      {"=\xc2\x85\xe2\x80\xa8\xc2\xa0" "date\xc2\xa0", "date"},
      {"= \n", ""}, {"", std::nullopt}, {"===", std::nullopt},
      {"notAfter=\xff\xfe", std::nullopt}, {"\xc3(=date", std::nullopt},
  };
  for (const auto& [output, text] : cases) {
    EXPECT_EQ(endDateText(std::vector<std::uint8_t>(output.begin(), output.end())), text)
        << ::testing::PrintToString(output);
  }
}

}  // namespace
}  // namespace quillon
