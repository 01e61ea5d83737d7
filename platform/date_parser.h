// DateParser: reads a date by an LDML (UTS #35) pattern in the locale the text
// was written in and the process's default time zone.
#pragma once

#include <optional>
#include <string_view>

#include "platform/clock.h"

namespace quillon {

class DateParser {
 public:
  virtual ~DateParser() = default;
  // The instant that `text` names by `pattern`, with month and day names,
  // digits and zone names as `locale` (a Unicode locale identifier such as
  // "en_US_POSIX") writes them, whatever the process's own locale. Read
  // strictly (no lenient calendar fields), with nothing but white space after
  // the date. Nothing when the text does not fit.
  virtual std::optional<Instant> parse(std::string_view pattern, std::string_view locale,
                                       std::string_view text) const = 0;
};

}  // namespace quillon
