// ShowCommand: the command codes of "window::showWindow", numbered as the
// Windows ShowWindow values. Codes 0 to 11 are valid; six of them act.
#pragma once

#include <cstdint>
#include <optional>

namespace quillon {

enum class ShowCommand : std::int64_t {
  hide = 0,
  showNormal = 1,
  showMinimised = 2,
  maximise = 3,
  showNoActivate = 4,
  show = 5,
  minimise = 6,
  showMinimisedNoActivate = 7,
  showNotActivated = 8,
  restore = 9,
  showDefault = 10,
  forceMinimise = 11,
};

// The command for a code, or nothing for a code outside 0 to 11.
inline std::optional<ShowCommand> showCommandFromCode(std::int64_t code) {
  if (code < 0 || code > static_cast<std::int64_t>(ShowCommand::forceMinimise)) return std::nullopt;
  return static_cast<ShowCommand>(code);
}

}  // namespace quillon
