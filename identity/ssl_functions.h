// SSLFunctions: the certificate check and installation in the user's keychain,
// and the machine's MAC address and platform UUID. Stateless: every operation
// asks the platform in `services` again and keeps nothing. All operations are
// synchronous and never fail outwards: failures come back as false, "" or, for
// an unreadable end of validity, the current instant. The host runs them on
// worker threads, so the platform it gives them is safe there.
#pragma once

#include <chrono>
#include <string>

#include "identity/identity_services.h"
#include "platform/clock.h"
#include "platform/keychain.h"

namespace quillon {

class SSLFunctions {
 public:
  SSLFunctions() = delete;

  static constexpr const char* kOpensslPath = "/usr/bin/openssl";
  // How long openssl may run before it is killed and the end date counts as
  // unreadable (docs/identity.md says why).
  static constexpr std::chrono::seconds kOpensslTimeLimit{10};
  static constexpr const char* kEndDatePattern = "MMM d HH:mm:ss yyyy z";
  // openssl writes its dates in English whatever the user's language.
  static constexpr const char* kEndDateLocale = "en_US_POSIX";

  // True when the keychain holds a certificate labelled `subject` (exact text)
  // whose end of validity lies strictly after `expirationDate`.
  static bool isCertificateAvailable(const IdentityServices& services, const std::string& subject,
                                     Instant expirationDate);
  // Decodes `certificate` (base64 of DER) and adds it without a label. True only
  // when the keychain accepted it; a certificate already there gives false.
  static bool addCertificate(const IdentityServices& services, const std::string& certificate);
  // The end of validity as openssl reads it from a temporary DER file, which is
  // removed as soon as the run is over; the current instant when it can't be read.
  static Instant getCertificateExpirationDate(const IdentityServices& services, const Certificate& certificate);

  // The hardware address of the first interface that has one; "" otherwise.
  static std::string getMacAddress(const IdentityServices& services);
  // The platform UUID; "" when it can't be read. Prints nothing.
  static std::string getPlatformUUID(const IdentityServices& services);
};

}  // namespace quillon
