#pragma once

#include "platform/file_system.h"

namespace quillon {

// Existence as stat() sees it: a link is followed, so a dangling one does not exist.
class LinuxFileSystem final : public FileSystem {
 public:
  bool exists(const std::string& path) const override;
};

}  // namespace quillon
