// AssemblyData: the paths of the application's own executable and of the two
// helper executables shipped in the bundle's resources. Stateless: each call
// asks the platform again. Failures answer "" and print one line.
#pragma once

#include <string>

#include "platform/bundle_locator.h"
#include "platform/diagnostics.h"
#include "platform/file_system.h"

namespace quillon {

struct BundleEnvironment {
  const BundleLocator& bundle;
  const FileSystem& files;
  Diagnostics& diagnostics;
};

class AssemblyData {
 public:
  AssemblyData() = delete;

  static std::string getRDPBinaryExecutablePath(const BundleEnvironment& environment);
  static std::string getTXBinaryExecutablePath(const BundleEnvironment& environment);
  static std::string getAppExecutablePath(const BundleEnvironment& environment);
};

}  // namespace quillon
