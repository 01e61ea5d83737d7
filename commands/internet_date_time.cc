#include "commands/internet_date_time.h"

#include <chrono>

namespace quillon {

namespace {

// Reads `count` ASCII digits at `position`; nothing if any is not a digit.
std::optional<int> digits(std::string_view text, std::size_t position, std::size_t count) {
  int value = 0;
  for (std::size_t i = position; i < position + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

// "YYYY-MM-DDTHH:MM:SS": the separators at their places, each field in range.
constexpr std::size_t kDateTimeLength = 19;
constexpr std::size_t kSeparatorPositions[] = {4, 7, 10, 13, 16};
constexpr char kSeparatorAt[] = {'-', '-', 'T', ':', ':'};

std::optional<std::chrono::seconds> zoneOffset(std::string_view zone) {
  if (zone == "Z") return std::chrono::seconds(0);
  if (zone.size() != 6 || (zone[0] != '+' && zone[0] != '-') || zone[3] != ':') return std::nullopt;
  const auto hours = digits(zone, 1, 2);
  const auto minutes = digits(zone, 4, 2);
  if (!hours || !minutes || *hours > 23 || *minutes > 59) return std::nullopt;
  const std::chrono::seconds offset = std::chrono::hours(*hours) + std::chrono::minutes(*minutes);
  return zone[0] == '+' ? offset : -offset;
}

}  // namespace

std::optional<Instant> parseInternetDateTime(std::string_view text) {
  if (text.size() < kDateTimeLength) return std::nullopt;
  for (std::size_t i = 0; i < std::size(kSeparatorPositions); ++i) {
    if (text[kSeparatorPositions[i]] != kSeparatorAt[i]) return std::nullopt;
  }
  const auto year = digits(text, 0, 4);
  const auto month = digits(text, 5, 2);
  const auto day = digits(text, 8, 2);
  const auto hour = digits(text, 11, 2);
  const auto minute = digits(text, 14, 2);
  const auto second = digits(text, 17, 2);
  const auto offset = zoneOffset(text.substr(kDateTimeLength));
  if (!year || !month || !day || !hour || !minute || !second || !offset) return std::nullopt;
  if (*hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day))};
  if (!date.ok()) return std::nullopt;
  const auto local = std::chrono::sys_days(date) + std::chrono::hours(*hour) + std::chrono::minutes(*minute) +
                     std::chrono::seconds(*second);
  return Instant(local - *offset);
}

}  // namespace quillon
