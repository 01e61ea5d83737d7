#include "process/unicode_text.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <limits>

namespace quillon {
namespace {

bool isBlank(UChar32 c) { return c == 0x09 || u_charType(c) == U_SPACE_SEPARATOR; }

bool isBlankOrLineBreak(UChar32 c) {
  if (isBlank(c) || (c >= 0x0A && c <= 0x0D) || c == 0x85) return true;
  const std::int8_t category = u_charType(c);
  return category == U_LINE_SEPARATOR || category == U_PARAGRAPH_SEPARATOR;
}

// ICU walks UTF-8 with 32-bit offsets; the tools' outputs stay far below that.
bool fitsIcuOffsets(std::size_t size) { return size <= static_cast<std::size_t>(std::numeric_limits<int32_t>::max()); }

template <typename Predicate>
std::string_view trim(std::string_view text, Predicate drop) {
  if (!fitsIcuOffsets(text.size())) return text;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto length = static_cast<int32_t>(text.size());
  // One forward walk: the kept text runs from the first character that is not
  // dropped to the end of the last such character.
  int32_t start = -1;
  int32_t end = 0;
  for (int32_t offset = 0; offset < length;) {
    const int32_t characterStart = offset;
    UChar32 c = 0;
    U8_NEXT(bytes, offset, length, c);
    if (c >= 0 && drop(c)) continue;
    if (start < 0) start = characterStart;
    end = offset;
  }
  if (start < 0) return text.substr(0, 0);
  return text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start));
}

icu::UnicodeString canonicalForm(std::string_view text, const icu::Normalizer2& normalizer, UErrorCode& status) {
  const auto source = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  return normalizer.normalize(source, status);
}

}  // namespace

std::optional<std::string> decodeUtf8(const std::vector<std::uint8_t>& bytes) {
  if (!fitsIcuOffsets(bytes.size())) return std::nullopt;
  const auto length = static_cast<int32_t>(bytes.size());
  int32_t offset = 0;
  while (offset < length) {
    UChar32 c = 0;
    U8_NEXT(bytes.data(), offset, length, c);
    if (c < 0) return std::nullopt;
  }
  return std::string(bytes.begin(), bytes.end());
}

std::string_view trimBlanks(std::string_view text) { return trim(text, isBlank); }

std::string_view trimBlanksAndLineBreaks(std::string_view text) { return trim(text, isBlankOrLineBreak); }

bool canonicallyEqual(std::string_view a, std::string_view b) {
  if (a == b) return true;
  if (!fitsIcuOffsets(a.size()) || !fitsIcuOffsets(b.size())) return false;
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* normalizer = icu::Normalizer2::getNFDInstance(status);
  if (U_FAILURE(status)) return false;
  const icu::UnicodeString canonicalA = canonicalForm(a, *normalizer, status);
  const icu::UnicodeString canonicalB = canonicalForm(b, *normalizer, status);
  return U_SUCCESS(status) && canonicalA == canonicalB;
}

}  // namespace quillon
