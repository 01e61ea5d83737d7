#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "platform/keychain.h"
#include "platform/linux/identity/nss_session.h"

namespace quillon {

// The user's NSS shared certificate database (the store Chromium and other
// programs use on Linux). A certificate's label is its NSS nickname; an added
// certificate gets the label of nss_labels.h.
//
// The database stays open between requests, as opening it costs more than a
// lookup: read-only from the first lookup, which never creates it, and for
// writing from the first addition on. SQLite holds no lock between requests,
// so the programs sharing the database go on reading and writing it, and every
// lookup sees their changes. NSS keeps one database open per process, so there
// is one NssKeychain at a time. Requests may come from several threads (the
// host's workers): they take turns, as the session they share is one.
class NssKeychain final : public Keychain {
 public:
  // `databaseDirectory` holds cert9.db and key4.db; see userDatabaseDirectory().
  explicit NssKeychain(std::string databaseDirectory) : databaseDirectory_(std::move(databaseDirectory)) {}
  NssKeychain(const NssKeychain&) = delete;
  NssKeychain& operator=(const NssKeychain&) = delete;

  // $HOME/.pki/nssdb, with the password database's home when HOME is unset.
  static std::string userDatabaseDirectory();

  std::optional<Certificate> makeCertificate(const std::vector<std::uint8_t>& der) const override;
  Expected<Certificate, KeychainError> copyMatching(const SearchRequest& request) override;
  Expected<void, KeychainError> add(const AddRequest& request) override;

 private:
  // The open session when it serves `access`, else a new one that does (the
  // old one closed first); nothing when NSS cannot open the database so.
  NssSession* sessionFor(NssSession::Access access) const;

  std::string databaseDirectory_;
  // Kept across requests; even decoding a certificate, a const request, opens it.
  mutable std::unique_ptr<NssSession> session_;  // guarded by mutex_
  mutable std::mutex mutex_;
};

}  // namespace quillon
