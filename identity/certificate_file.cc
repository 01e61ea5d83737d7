#include "identity/certificate_file.h"

#include <utility>

namespace quillon {

Expected<CertificateFile> CertificateFile::write(const IdentityServices& services, const Certificate& certificate) {
  std::string path = services.temporaryDirectory.path() + "/" + services.uuids.newUuid() + ".cer";
  if (auto written = services.temporaryDirectory.writeNewFile(path, certificate.der()); !written.hasValue()) {
    return written.error();
  }
  return CertificateFile(services, std::move(path));
}

CertificateFile::CertificateFile(const IdentityServices& services, std::string path)
    : services_(&services), path_(std::move(path)) {}

CertificateFile::CertificateFile(CertificateFile&& other) noexcept
    : services_(other.services_), path_(std::exchange(other.path_, {})) {}

CertificateFile::~CertificateFile() {
  if (path_.empty()) return;
  if (const auto removed = services_->temporaryDirectory.removeFile(path_); !removed.hasValue()) {
    services_->diagnostics.printLine("Error removing certificate file: " + removed.error().reason);
  }
}

}  // namespace quillon
