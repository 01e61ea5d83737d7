#pragma once

#include "platform/date_parser.h"

namespace quillon {

// Dates read with ICU's SimpleDateFormat in the locale the caller names and
// ICU's default time zone (the process's), with a strict calendar. ICU's
// default locale, taken from the process's locale settings, plays no part for a
// locale ICU has data for (such as "en_US_POSIX"); ICU falls back to it for
// one it has none for.
class IcuDateParser final : public DateParser {
 public:
  std::optional<Instant> parse(std::string_view pattern, std::string_view locale,
                               std::string_view text) const override;
};

}  // namespace quillon
