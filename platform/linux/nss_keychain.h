#pragma once

#include <string>

#include "platform/keychain.h"

namespace quillon {

// The user's NSS shared certificate database (the store Chromium and other
// programs use on Linux). Each request opens the database, does its work and
// shuts NSS down again, so nothing stays open or locked between requests. A
// certificate's label is its NSS nickname; an added certificate gets the label
// of nss_labels.h. Lookups open the database read-only and never create it.
class NssKeychain final : public Keychain {
 public:
  // `databaseDirectory` holds cert9.db and key4.db; see userDatabaseDirectory().
  explicit NssKeychain(std::string databaseDirectory) : databaseDirectory_(std::move(databaseDirectory)) {}

  // $HOME/.pki/nssdb, with the password database's home when HOME is unset.
  static std::string userDatabaseDirectory();

  std::optional<Certificate> makeCertificate(const std::vector<std::uint8_t>& der) const override;
  SearchResult copyMatching(const SearchRequest& request) override;
  KeychainStatus add(const AddRequest& request) override;

 private:
  std::string databaseDirectory_;
};

}  // namespace quillon
