// The bundle as a Flutter Linux bundle lays it out: the executable, found
// through /proc/self/exe, and the resource directory `data/` beside it.
#pragma once

#include <string>

#include "platform/bundle_locator.h"

namespace quillon {

class FlutterBundleLocator final : public BundleLocator {
 public:
  // The link that names the running executable; tests may point elsewhere.
  explicit FlutterBundleLocator(std::string executableLink = "/proc/self/exe")
      : executableLink_(std::move(executableLink)) {}

  // Nothing when the executable cannot be told or no `data/` directory lies beside it.
  std::optional<std::string> resourcePath() const override;
  std::optional<std::string> executablePath() const override;

 private:
  std::string executableLink_;
};

}  // namespace quillon
