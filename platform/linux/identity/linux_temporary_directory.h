#pragma once

#include "platform/temporary_directory.h"

namespace quillon {

// The per-user temporary directory of a POSIX system: $TMPDIR when it is set and
// not empty, else /tmp. New files are created exclusively (O_EXCL, O_NOFOLLOW)
// with mode 0600, so in a shared directory such as /tmp no other user can read
// them, nor (the sticky bit) replace or remove them.
class LinuxTemporaryDirectory final : public TemporaryDirectory {
 public:
  std::string path() const override;
  Expected<void> writeNewFile(const std::string& filePath, const std::vector<std::uint8_t>& bytes) override;
  Expected<void> removeFile(const std::string& filePath) override;
};

}  // namespace quillon
