// NssSession: one opening of an NSS certificate database. Opening initialises
// NSS for this session; closing (the destructor) shuts it down and closes the
// database files. Every NSS object made in a session must be freed before the
// session ends. Sessions must not overlap in time: NSS answers every lookup
// from the token of the first database opened, so a second open database
// would go unseen.
#pragma once

#include <cert.h>
#include <nss.h>
#include <pk11pub.h>

#include <string>

#include "base/c_owner.h"

namespace quillon {

using NssCertificate = COwner<CERTCertificate, CERT_DestroyCertificate>;
using NssCertificateList = COwner<CERTCertList, CERT_DestroyCertList>;
using NssSlot = COwner<PK11SlotInfo, PK11_FreeSlot>;
using NssString = COwner<char, PORT_Free>;

class NssSession {
 public:
  // In increasing order: a session opened for one access serves the ones
  // before it too.
  enum class Access {
    kNoDatabase,  // decoding only
    kReadOnly,    // lookups: an absent database stays absent
    kReadWrite,   // additions: creates the directory and the database when missing
  };

  // Nothing when NSS cannot open `directory` (a path, without the "sql:" prefix).
  static std::unique_ptr<NssSession> open(const std::string& directory, Access access);

  NssSession(const NssSession&) = delete;
  NssSession& operator=(const NssSession&) = delete;
  ~NssSession();

  Access access() const { return access_; }
  // The database's token (the internal key slot).
  PK11SlotInfo* slot() const { return slot_.get(); }
  CERTCertDBHandle* certificateDatabase() const { return CERT_GetDefaultCertDB(); }

 private:
  NssSession(NSSInitContext* context, NssSlot slot, Access access)
      : context_(context), slot_(std::move(slot)), access_(access) {}

  NSSInitContext* context_;
  NssSlot slot_;
  Access access_;
};

}  // namespace quillon
