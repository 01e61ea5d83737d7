#pragma once

#include "platform/temporary_directory.h"

namespace quillon {

// The per-user temporary directory of a POSIX system: $TMPDIR when it is set and
// not empty, else /tmp. Files are written in place with the umask's permissions.
class LinuxTemporaryDirectory final : public TemporaryDirectory {
 public:
  std::string path() const override;
  Expected<void> writeFile(const std::string& filePath, const std::vector<std::uint8_t>& bytes) override;
};

}  // namespace quillon
