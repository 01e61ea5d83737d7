// NetworkInterfaces: the network devices that the system configures, in the
// system's own order.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillon {

struct NetworkInterface {
  std::string name;
  // The hardware address in the system's own text form; nothing when the
  // interface has none.
  std::optional<std::string> hardwareAddress;
};

class NetworkInterfaces {
 public:
  virtual ~NetworkInterfaces() = default;
  // Nothing when the list cannot be read.
  virtual std::optional<std::vector<NetworkInterface>> list() const = 0;
};

}  // namespace quillon
