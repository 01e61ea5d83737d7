#include "platform/linux/identity/icu_date_parser.h"

#include <unicode/smpdtfmt.h>
#include <unicode/uchar.h>

#include <cmath>
#include <string>

namespace quillon {

namespace {

icu::UnicodeString utf16(std::string_view text) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

bool onlyWhiteSpaceFrom(const icu::UnicodeString& text, std::int32_t index) {
  for (std::int32_t i = index; i < text.length(); i = text.moveIndex32(i, 1)) {
    if (!u_isUWhiteSpace(text.char32At(i))) return false;
  }
  return true;
}

}  // namespace

std::optional<Instant> IcuDateParser::parse(std::string_view pattern, std::string_view locale,
                                            std::string_view text) const {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(utf16(pattern), icu::Locale(std::string(locale).c_str()), status);
  if (U_FAILURE(status)) return std::nullopt;
  // Strict fields (no 30 February, no hour 24); runs of blanks in the text still
  // match a blank of the pattern, so openssl's padded day ("Jan  2") reads.
  format.setLenient(false);
  const icu::UnicodeString unicodeText = utf16(text);
  icu::ParsePosition position(0);
  const UDate milliseconds = format.parse(unicodeText, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() == 0) return std::nullopt;
  if (!onlyWhiteSpaceFrom(unicodeText, position.getIndex())) return std::nullopt;
  // ICU reads years of more than four digits too; beyond what an instant holds
  // the date is no date.
  constexpr double kLimit = static_cast<double>(Instant::duration::max().count() / 1000);
  if (!(std::abs(milliseconds) < kLimit)) return std::nullopt;
  return Instant(std::chrono::milliseconds(std::llround(milliseconds)));
}

}  // namespace quillon
