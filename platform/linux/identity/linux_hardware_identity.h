#pragma once

#include "platform/hardware_identity.h"

namespace quillon {

// The SMBIOS system UUID from DMI, as the firmware reports it, without its line
// feed. Where that file is absent or unreadable (it is root-only on most
// systems and absent in containers), the installation's machine ID written as a
// UUID (8-4-4-4-12, upper case), so the interface still gets a stable identity.
class LinuxHardwareIdentity final : public HardwareIdentity {
 public:
  // The defaults are the running system's files; tests pass fixtures.
  explicit LinuxHardwareIdentity(std::string productUuidPath = "/sys/class/dmi/id/product_uuid",
                                 std::string machineIdPath = "/etc/machine-id")
      : productUuidPath_(std::move(productUuidPath)), machineIdPath_(std::move(machineIdPath)) {}

  std::optional<std::string> platformUuid() const override;

 private:
  std::string productUuidPath_;
  std::string machineIdPath_;
};

}  // namespace quillon
