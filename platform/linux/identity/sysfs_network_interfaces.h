#pragma once

#include "platform/network_interfaces.h"

namespace quillon {

// The network devices of /sys/class/net that are backed by a device (NAME/device
// exists): loopback, bridges, tunnels, veth pairs and the other virtual
// interfaces are left out, as the system configuration's interface list leaves
// them out. Ordered by the kernel's interface index. A hardware address is
// NAME/address as the kernel writes it, when NAME/addr_len is not zero.
class SysfsNetworkInterfaces final : public NetworkInterfaces {
 public:
  // `classDirectory` is /sys/class/net on a running system; tests pass a fixture.
  explicit SysfsNetworkInterfaces(std::string classDirectory = "/sys/class/net")
      : classDirectory_(std::move(classDirectory)) {}

  std::optional<std::vector<NetworkInterface>> list() const override;

 private:
  std::string classDirectory_;
};

}  // namespace quillon
