#pragma once

#include "platform/date_parser.h"

namespace quillon {

// Dates read with ICU's SimpleDateFormat in ICU's default locale (taken from the
// process's locale settings) and default time zone, with a strict calendar.
class IcuDateParser final : public DateParser {
 public:
  std::optional<Instant> parse(std::string_view pattern, std::string_view text) const override;
};

}  // namespace quillon
