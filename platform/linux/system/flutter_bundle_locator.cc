#include "platform/linux/system/flutter_bundle_locator.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

namespace quillon {

std::optional<std::string> FlutterBundleLocator::executablePath() const {
  std::error_code error;
  std::filesystem::path target = std::filesystem::read_symlink(executableLink_, error);
  if (error || target.empty()) return std::nullopt;
  return target.string();
}

std::optional<std::string> FlutterBundleLocator::resourcePath() const {
  const auto executable = executablePath();
  if (!executable) return std::nullopt;
  std::string data = std::filesystem::path(*executable).parent_path().string() + "/data";
  struct stat status {};
  if (::stat(data.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
  return data;
}

}  // namespace quillon
