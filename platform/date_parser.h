// DateParser: reads a date by an LDML (UTS #35) pattern in the process's current
// locale and default time zone, the way the platform's date formatter does.
#pragma once

#include <optional>
#include <string_view>

#include "platform/clock.h"

namespace quillon {

class DateParser {
 public:
  virtual ~DateParser() = default;
  // The instant that `text` names by `pattern`, read strictly (no lenient
  // calendar fields), with nothing but white space after the date. Nothing
  // when the text does not fit.
  virtual std::optional<Instant> parse(std::string_view pattern, std::string_view text) const = 0;
};

}  // namespace quillon
