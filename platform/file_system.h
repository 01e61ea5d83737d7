// FileSystem: the file-existence test of the bundle paths.
#pragma once

#include <string>

namespace quillon {

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // Whether anything (a file or a directory) exists at `path`.
  virtual bool exists(const std::string& path) const = 0;
};

}  // namespace quillon
