// CertificateFile: a certificate's DER bytes in a file of their own in the
// temporary directory, "<UUID>.cer" (a fresh upper-case UUID), for a tool to
// read.
//
// Contract: the file is created exclusively and readable by this user alone
// (TemporaryDirectory::writeNewFile). It is removed when its owner goes, on
// whatever path that is, so a check leaves nothing behind; a removal that fails
// prints "Error removing certificate file: " and the reason. Move-only: the
// last owner removes it, once.
#pragma once

#include <string>

#include "base/expected.h"
#include "identity/identity_services.h"
#include "platform/keychain.h"

namespace quillon {

class CertificateFile {
 public:
  // Fails with the temporary directory's reason; nothing is then left behind.
  static Expected<CertificateFile> write(const IdentityServices& services, const Certificate& certificate);

  CertificateFile(CertificateFile&& other) noexcept;
  CertificateFile& operator=(CertificateFile&&) = delete;
  CertificateFile(const CertificateFile&) = delete;
  CertificateFile& operator=(const CertificateFile&) = delete;
  ~CertificateFile();

  const std::string& path() const { return path_; }

 private:
  CertificateFile(const IdentityServices& services, std::string path);

  const IdentityServices* services_;
  std::string path_;  // empty once moved from: nothing to remove
};

}  // namespace quillon
