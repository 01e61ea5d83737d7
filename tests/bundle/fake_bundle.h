// A bundle and a file system described by the test.
#pragma once

#include <set>

#include "platform/bundle_locator.h"
#include "platform/file_system.h"

namespace quillon::testing {

struct FakeBundle final : BundleLocator {
  std::optional<std::string> resources;
  std::optional<std::string> executable;
  std::optional<std::string> resourcePath() const override { return resources; }
  std::optional<std::string> executablePath() const override { return executable; }
};

struct FakeFiles final : FileSystem {
  std::set<std::string> existing;
  bool exists(const std::string& path) const override { return existing.count(path) != 0; }
};

}  // namespace quillon::testing
