#include "identity/end_date_text.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include <string_view>

namespace quillon {

namespace {

bool isTrimmed(UChar32 c) {
  return (U_GET_GC_MASK(c) & U_GC_Z_MASK) != 0 || (c >= 0x0A && c <= 0x0D) || c == 0x85;
}

// The text as UTF-16; nothing when the bytes are not UTF-8.
std::optional<icu::UnicodeString> fromUtf8(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t length = 0;
  const auto size = static_cast<std::int32_t>(text.size());
  u_strFromUTF8(nullptr, 0, &length, text.data(), size, &status);
  if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) return std::nullopt;
  icu::UnicodeString unicode;
  status = U_ZERO_ERROR;
  u_strFromUTF8(unicode.getBuffer(length), length, &length, text.data(), size, &status);
  unicode.releaseBuffer(U_SUCCESS(status) ? length : 0);
  if (U_FAILURE(status)) return std::nullopt;
  return unicode;
}

std::string trimmed(const icu::UnicodeString& text) {
  std::int32_t begin = 0;
  std::int32_t end = text.length();
  while (begin < end && isTrimmed(text.char32At(begin))) begin = text.moveIndex32(begin, 1);
  while (end > begin && isTrimmed(text.char32At(text.moveIndex32(end, -1)))) end = text.moveIndex32(end, -1);
  std::string utf8;
  text.tempSubStringBetween(begin, end).toUTF8String(utf8);
  return utf8;
}

}  // namespace

std::optional<std::string> endDateText(const std::vector<std::uint8_t>& output) {
  const std::string_view text(reinterpret_cast<const char*>(output.data()), output.size());
  if (!fromUtf8(text)) return std::nullopt;
  // Splitting at every "=" and dropping empty pieces leaves, as the last piece,
  // the text after the last "=" that is followed by anything.
  const std::string_view withoutTrailingSigns = text.substr(0, text.find_last_not_of('=') + 1);
  if (withoutTrailingSigns.empty()) return std::nullopt;
  const auto lastSign = withoutTrailingSigns.rfind('=');
  const std::string_view lastPiece =
      lastSign == std::string_view::npos ? withoutTrailingSigns : withoutTrailingSigns.substr(lastSign + 1);
  return trimmed(*fromUtf8(lastPiece));
}

}  // namespace quillon
