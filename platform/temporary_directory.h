// TemporaryDirectory: the per-user directory for scratch files, and the plain
// write of one file in it.
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
  // Creates or replaces the file at `filePath` with `bytes`, not atomically.
  virtual Expected<void> writeFile(const std::string& filePath, const std::vector<std::uint8_t>& bytes) = 0;
};

}  // namespace quillon
