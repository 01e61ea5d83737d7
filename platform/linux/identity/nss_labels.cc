#include "platform/linux/identity/nss_labels.h"

namespace quillon {

namespace {

bool hasLabel(const NssSession& session, const CERTCertificate& certificate, const std::string& label) {
  if (!certificate.nickname) return false;
  // Certificates of the database's own token carry the bare label; others the
  // token's name in front.
  const std::string nickname = certificate.nickname;
  return nickname == label || nickname == std::string(PK11_GetTokenName(session.slot())) + ":" + label;
}

}  // namespace

NssCertificate findCertificateByLabel(const NssSession& session, const std::string& label) {
  const std::string qualified = std::string(PK11_GetTokenName(session.slot())) + ":" + label;
  const NssCertificateList found(PK11_FindCertsFromNickname(qualified.c_str(), nullptr));
  if (!found) return nullptr;
  // NSS falls back to e-mail addresses when no nickname matches; those hits are
  // not labelled `label` and are passed over.
  // NSS's own list macros cast in the C way; a node starts with its links.
  for (PRCList* link = found->list.next; link != &found->list; link = link->next) {
    const CERTCertListNode* node = reinterpret_cast<const CERTCertListNode*>(link);
    if (hasLabel(session, *node->cert, label)) return NssCertificate(CERT_DupCertificate(node->cert));
  }
  return nullptr;
}

std::string defaultLabel(const CERTCertificate& certificate) {
  for (auto nameElement : {&CERT_GetCommonName, &CERT_GetOrgUnitName, &CERT_GetOrgName}) {
    const NssString text(nameElement(&certificate.subject));
    if (text && *text) return text.get();
  }
  return "X509 Certificate";
}

std::string labelFreeFor(const NssSession& session, const CERTCertificate& certificate, const std::string& label) {
  std::string candidate = label;
  for (int suffix = 2;; ++suffix) {
    const NssCertificate holder = findCertificateByLabel(session, candidate);
    if (!holder || SECITEM_ItemsAreEqual(&holder->derSubject, &certificate.derSubject)) return candidate;
    candidate = label + " #" + std::to_string(suffix);
  }
}

}  // namespace quillon
