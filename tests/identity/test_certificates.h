// Real certificates for the integration tests, made with the openssl tool in a
// directory of their own.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillon::testing {

// A self-signed certificate with `subject` (openssl's "/CN=.../O=..." form) that
// ends at `endDate` (YYYYMMDDHHMMSSZ), as DER bytes. Fails the test when openssl fails.
std::vector<std::uint8_t> makeCertificate(const std::string& subject, const std::string& endDate = "20300102000000Z");

std::string base64Of(const std::vector<std::uint8_t>& bytes);

// A directory that is removed with everything in it when the object goes.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  ~ScratchDirectory();

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace quillon::testing
