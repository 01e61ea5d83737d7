#include "traffic/call_summary.h"

#include <cstdio>
#include <ctime>

#include "traffic/one_line_text.h"

namespace quillon {

std::string answerKind(const ChannelReply& answer) {
  if (answer.isSuccess()) return "success";
  if (answer.isError()) return "error " + oneLine(answer.error().code, kNameWidth);
  return "not implemented";
}

std::string timeOfDay(Instant instant) {
  const auto since = instant.time_since_epoch();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
  const std::time_t whole = static_cast<std::time_t>(seconds.count());
  std::tm local{};
  if (localtime_r(&whole, &local) == nullptr) return "";
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(since - seconds).count();
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(milliseconds));
  return text;
}

std::string duration(std::chrono::microseconds took) {
  const double milliseconds = static_cast<double>(took.count()) / 1000.0;
  char text[32];
  if (milliseconds < 10.0) {
    std::snprintf(text, sizeof text, "%.2f ms", milliseconds);
  } else if (milliseconds < 1000.0) {
    std::snprintf(text, sizeof text, "%.0f ms", milliseconds);
  } else {
    std::snprintf(text, sizeof text, "%.1f s", milliseconds / 1000.0);
  }
  return text;
}

}  // namespace quillon
