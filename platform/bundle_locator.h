// BundleLocator: where the application's bundle lies.
#pragma once

#include <optional>
#include <string>

namespace quillon {

class BundleLocator {
 public:
  virtual ~BundleLocator() = default;
  // The bundle's resource directory, or nothing when the bundle has none.
  virtual std::optional<std::string> resourcePath() const = 0;
  // The path of the application's own executable, or nothing when it cannot be told.
  virtual std::optional<std::string> executablePath() const = 0;
};

}  // namespace quillon
