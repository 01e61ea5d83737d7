// Labels of certificates in an NSS database. A label is the certificate's NSS
// nickname. NSS reads a nickname holding ":" as "token:nickname", so every
// lookup names the database's token in front of the label.
#pragma once

#include <string>

#include "platform/linux/identity/nss_session.h"

namespace quillon {

// One certificate of the session's token whose label is exactly `label`;
// nothing when there is none.
NssCertificate findCertificateByLabel(const NssSession& session, const std::string& label);

// The label a certificate gets when it is added without one: the subject's
// common name (the last one when there are several), else its organisational
// unit, else its organisation, else "X509 Certificate".
std::string defaultLabel(const CERTCertificate& certificate);

// `label` when no certificate with another subject holds it, else the first of
// "label #2", "label #3", ... that is free for this subject. Certificates with
// the same subject share their label, as NSS keeps one nickname per subject.
std::string labelFreeFor(const NssSession& session, const CERTCertificate& certificate, const std::string& label);

}  // namespace quillon
