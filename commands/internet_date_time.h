// The reading of "expirationDate": the internet date-time form of ISO 8601 and
// nothing else, "YYYY-MM-DDTHH:MM:SS" followed by "Z" or a numeric offset
// "+HH:MM" / "-HH:MM" (2025-03-31T23:59:59Z, 2025-03-31T23:59:59+02:00).
#pragma once

#include <optional>
#include <string_view>

#include "platform/clock.h"

namespace quillon {

// Nothing for any other form (fractional seconds, a date alone, a time without
// a zone, lower-case "t" or "z", an offset without its colon) and for dates and
// times that do not exist (month 13, 31 April, 29 February outside leap years,
// hour 24, second 60).
std::optional<Instant> parseInternetDateTime(std::string_view text);

}  // namespace quillon
