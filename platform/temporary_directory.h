// TemporaryDirectory: the per-user directory for scratch files, and the files
// written there for another program to read, private to this user and removed
// by their writer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/expected.h"

namespace quillon {

class TemporaryDirectory {
 public:
  virtual ~TemporaryDirectory() = default;
  // The directory's path, without a trailing slash.
  virtual std::string path() const = 0;
  // Creates the file at `filePath`, which must not exist yet (not even as a
  // link), readable and writable by this user alone, and writes `bytes` to it.
  // On failure nothing that this call made is left at `filePath`; a file that
  // was there before is left as it was.
  virtual Expected<void> writeNewFile(const std::string& filePath, const std::vector<std::uint8_t>& bytes) = 0;
  // Removes the file at `filePath`. A file that is already gone is no failure.
  virtual Expected<void> removeFile(const std::string& filePath) = 0;
};

}  // namespace quillon
