// RunningApplications: the applications running now, as the desktop names them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillon {

struct RunningApplication {
  // The name a user knows the application by; absent when it has none.
  std::optional<std::string> localizedName;
  std::int32_t processId = 0;
};

class RunningApplications {
 public:
  virtual ~RunningApplications() = default;
  // A fresh list on every call, in the platform's order.
  virtual std::vector<RunningApplication> list() = 0;
};

}  // namespace quillon
