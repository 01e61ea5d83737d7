// HardwareIdentity: the machine's platform UUID.
#pragma once

#include <optional>
#include <string>

namespace quillon {

class HardwareIdentity {
 public:
  virtual ~HardwareIdentity() = default;
  // The platform UUID as text; nothing when it cannot be read.
  virtual std::optional<std::string> platformUuid() const = 0;
};

}  // namespace quillon
