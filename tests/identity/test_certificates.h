// Real certificates for the tests, made with the openssl tool in a directory
// of their own; and such directories.
#pragma once

#include <stdlib.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace quillon::testing {

// A self-signed certificate with `subject` (openssl's "/CN=.../O=..." form) that
// ends at `endDate` (YYYYMMDDHHMMSSZ), as DER bytes. Fails the test when openssl fails.
std::vector<std::uint8_t> makeCertificate(const std::string& subject, const std::string& endDate = "20300102000000Z");

std::string base64Of(const std::vector<std::uint8_t>& bytes);

// A new directory, removed with everything in it when the object goes.
class ScratchDirectory {
 public:
  ScratchDirectory() : path_((std::filesystem::temp_directory_path() / "quillon-identity-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) throw std::system_error(errno, std::generic_category(), path_);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace quillon::testing
