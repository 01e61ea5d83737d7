#include "bundle/assembly_data.h"

#include <string_view>

#include "channel/utf8_text.h"

namespace quillon {

namespace {

struct HelperLayout {
  std::string_view relativePath;  // appended to the resource directory as plain text
  std::string_view notFoundLine;  // followed by the full path
};

constexpr HelperLayout kRdpHelper{"/pylonRDP/pylonRDP", "Error: pylonRDP directory not found at path "};
constexpr HelperLayout kTxHelper{"/pylonTX/pylonTX", "Error: pylonTX directory not found at path "};

std::string helperPath(const BundleEnvironment& environment, const HelperLayout& helper) {
  // A path that is not UTF-8 cannot travel to the interface, and a repaired one
  // would name another file: such a directory counts as none.
  const auto resources = environment.bundle.resourcePath();
  if (!resources || !isUtf8Text(*resources)) {
    environment.diagnostics.printLine("Error: Unable to find the resource path");
    return {};
  }
  std::string fullPath = *resources + std::string(helper.relativePath);
  if (environment.files.exists(fullPath)) return fullPath;
  environment.diagnostics.printLine(std::string(helper.notFoundLine) + fullPath);
  return {};
}

}  // namespace

std::string AssemblyData::getRDPBinaryExecutablePath(const BundleEnvironment& environment) {
  return helperPath(environment, kRdpHelper);
}

std::string AssemblyData::getTXBinaryExecutablePath(const BundleEnvironment& environment) {
  return helperPath(environment, kTxHelper);
}

std::string AssemblyData::getAppExecutablePath(const BundleEnvironment& environment) {
  auto executable = environment.bundle.executablePath();
  if (!executable || !isUtf8Text(*executable)) {
    environment.diagnostics.printLine("Error: Unable to find the executable URL");
    return {};
  }
  return *std::move(executable);
}

}  // namespace quillon
