#include "platform/linux/identity/nss_keychain.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <limits>

#include "platform/linux/identity/nss_labels.h"

namespace quillon {

namespace {

// A view of `bytes` as NSS takes them; NSS only reads through it.
SECItem itemOf(const std::vector<std::uint8_t>& bytes) {
  return SECItem{siDERCertBuffer, const_cast<unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

}  // namespace

std::string NssKeychain::userDatabaseDirectory() {
  const char* home = std::getenv("HOME");
  if (!home || !*home) {
    const passwd* entry = ::getpwuid(::getuid());
    home = entry ? entry->pw_dir : "/";
  }
  return std::string(home) + "/.pki/nssdb";
}

NssSession* NssKeychain::sessionFor(NssSession::Access access) const {
  if (session_ && session_->access() >= access) return session_.get();
  session_.reset();
  session_ = NssSession::open(databaseDirectory_, access);
  return session_.get();
}

std::optional<Certificate> NssKeychain::makeCertificate(const std::vector<std::uint8_t>& der) const {
  if (der.empty() || der.size() > std::numeric_limits<unsigned int>::max()) return std::nullopt;
  const std::lock_guard lock(mutex_);
  NssSession* session = sessionFor(NssSession::Access::kNoDatabase);
  if (!session) return std::nullopt;
  SECItem item = itemOf(der);
  const NssCertificate decoded(
      CERT_NewTempCertificate(session->certificateDatabase(), &item, nullptr, PR_FALSE, PR_TRUE));
  // NSS refuses truncated input and bytes after the certificate alike.
  if (!decoded) return std::nullopt;
  return certificateFromCheckedDer(der);
}

Expected<Certificate, KeychainError> NssKeychain::copyMatching(const SearchRequest& request) {
  const std::lock_guard lock(mutex_);
  NssSession* session = sessionFor(NssSession::Access::kReadOnly);
  if (!session) return KeychainError::kUnavailable;
  const NssCertificate found = findCertificateByLabel(*session, request.label);
  if (!found) return KeychainError::kItemNotFound;
  const std::vector<std::uint8_t> der(found->derCert.data, found->derCert.data + found->derCert.len);
  return certificateFromCheckedDer(der);
}

Expected<void, KeychainError> NssKeychain::add(const AddRequest& request) {
  const std::lock_guard lock(mutex_);
  NssSession* session = sessionFor(NssSession::Access::kReadWrite);
  if (!session) return KeychainError::kUnavailable;
  SECItem item = itemOf(request.value.der());
  // NSS answers success for a certificate it already holds; the keychain calls
  // that a duplicate.
  if (const NssCertificate stored{PK11_FindCertFromDERCertItem(session->slot(), &item, nullptr)}) {
    return KeychainError::kDuplicateItem;
  }
  const NssCertificate certificate(
      CERT_NewTempCertificate(session->certificateDatabase(), &item, nullptr, PR_FALSE, PR_TRUE));
  if (!certificate) return KeychainError::kUnavailable;
  const std::string label = labelFreeFor(*session, *certificate, defaultLabel(*certificate));
  const SECStatus imported = PK11_ImportCert(session->slot(), certificate.get(), CK_INVALID_HANDLE, label.c_str(), PR_FALSE);
  if (imported != SECSuccess) return KeychainError::kUnavailable;
  return {};
}

}  // namespace quillon
