// Keychain: the user's certificate store, shared with the other programs of the
// user. Certificates are looked up by their label and added, never removed.
// Each request sees the store as it is at that moment, changes made by other
// programs included.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/expected.h"

namespace quillon {

// A certificate object: DER bytes that the store has accepted as one X.509
// certificate. Only the store makes them (makeCertificate), so holding one means
// the bytes decoded.
class Certificate {
 public:
  const std::vector<std::uint8_t>& der() const { return der_; }

 private:
  friend class Keychain;
  explicit Certificate(std::vector<std::uint8_t> der) : der_(std::move(der)) {}

  std::vector<std::uint8_t> der_;
};

enum class ItemClass { kCertificate };

// A search asks for exactly these two attributes: no return type, no match limit.
struct SearchRequest {
  ItemClass itemClass = ItemClass::kCertificate;
  std::string label;  // compared with the item's label as exact text
};

// An addition carries exactly these two attributes: no label, so the store
// records the one it gives the certificate by itself.
struct AddRequest {
  ItemClass itemClass = ItemClass::kCertificate;
  Certificate value;
};

enum class KeychainError {
  kItemNotFound,
  kDuplicateItem,
  kUnavailable,  // the store could not be opened, read or written
};

class Keychain {
 public:
  virtual ~Keychain() = default;

  // Nothing when `der` is not exactly one DER-encoded X.509 certificate.
  virtual std::optional<Certificate> makeCertificate(const std::vector<std::uint8_t>& der) const = 0;
  // One certificate whose label equals the request's label; which one, when
  // several share it, is the store's choice.
  virtual Expected<Certificate, KeychainError> copyMatching(const SearchRequest& request) = 0;
  // kDuplicateItem when this very certificate is already stored.
  virtual Expected<void, KeychainError> add(const AddRequest& request) = 0;

 protected:
  // Lets implementations (and fakes) vouch for bytes they have decoded.
  static Certificate certificateFromCheckedDer(std::vector<std::uint8_t> der) { return Certificate(std::move(der)); }
};

}  // namespace quillon
