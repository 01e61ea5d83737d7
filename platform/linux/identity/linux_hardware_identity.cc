#include "platform/linux/identity/linux_hardware_identity.h"

#include <algorithm>
#include <cctype>

#include "platform/linux/system/small_file.h"

namespace quillon {

namespace {

// A machine ID is 32 lower-case hexadecimal digits; anything else is not one.
std::optional<std::string> machineIdAsUuid(const std::string& machineId) {
  if (machineId.size() != 32 ||
      !std::all_of(machineId.begin(), machineId.end(), [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); })) {
    return std::nullopt;
  }
  std::string uuid;
  for (std::size_t i = 0; i < machineId.size(); ++i) {
    if (i == 8 || i == 12 || i == 16 || i == 20) uuid.push_back('-');
    uuid.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(machineId[i]))));
  }
  return uuid;
}

}  // namespace

std::optional<std::string> LinuxHardwareIdentity::platformUuid() const {
  if (auto product = readSmallFile(productUuidPath_)) {
    std::string uuid = withoutFinalLineFeed(*std::move(product));
    if (!uuid.empty()) return uuid;
  }
  if (const auto machineId = readSmallFile(machineIdPath_)) return machineIdAsUuid(withoutFinalLineFeed(*machineId));
  return std::nullopt;
}

}  // namespace quillon
