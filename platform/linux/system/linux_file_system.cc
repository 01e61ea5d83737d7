#include "platform/linux/system/linux_file_system.h"

#include <sys/stat.h>

namespace quillon {

bool LinuxFileSystem::exists(const std::string& path) const {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

}  // namespace quillon
