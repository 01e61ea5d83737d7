#include "identity/ssl_functions.h"

#include "channel/utf8_text.h"
#include "identity/base64.h"
#include "identity/certificate_file.h"
#include "identity/end_date_text.h"

namespace quillon {

namespace {

// What openssl prints for the certificate, read from a file that is gone again
// when this returns; nothing, with the line that says why, when the file could
// not be written or the tool not started.
std::optional<std::vector<std::uint8_t>> opensslEndDateOutput(const IdentityServices& services,
                                                              const Certificate& certificate) {
  const auto file = CertificateFile::write(services, certificate);
  if (!file.hasValue()) {
    services.diagnostics.printLine("Error saving certificate to file: " + file.error().reason);
    return std::nullopt;
  }
  auto run = services.tools.run(SSLFunctions::kOpensslPath, {"x509", "-in", file->path(), "-noout", "-enddate"},
                                ToolRunner::Streams::kOutputAndError, SSLFunctions::kOpensslTimeLimit);
  if (!run.hasValue()) {
    services.diagnostics.printLine("Error running OpenSSL: " + run.error().reason);
    return std::nullopt;
  }
  return std::move(run->output);
}

}  // namespace

bool SSLFunctions::isCertificateAvailable(const IdentityServices& services, const std::string& subject,
                                          Instant expirationDate) {
  const auto found = services.keychain.copyMatching(SearchRequest{ItemClass::kCertificate, subject});
  if (!found.hasValue()) return false;
  return getCertificateExpirationDate(services, *found) > expirationDate;
}

bool SSLFunctions::addCertificate(const IdentityServices& services, const std::string& certificate) {
  auto der = decodeBase64SkippingUnknown(certificate);
  if (!der) return false;
  auto object = services.keychain.makeCertificate(*der);
  if (!object) return false;
  return services.keychain.add(AddRequest{ItemClass::kCertificate, *std::move(object)}).hasValue();
}

Instant SSLFunctions::getCertificateExpirationDate(const IdentityServices& services, const Certificate& certificate) {
  const auto output = opensslEndDateOutput(services, certificate);
  if (!output) return services.clock.now();
  const auto dateText = endDateText(*output);
  if (!dateText) return services.clock.now();
  const auto endOfValidity = services.dates.parse(kEndDatePattern, kEndDateLocale, *dateText);
  return endOfValidity ? *endOfValidity : services.clock.now();
}

std::string SSLFunctions::getMacAddress(const IdentityServices& services) {
  const auto interfaces = services.interfaces.list();
  if (!interfaces) {
    services.diagnostics.printLine("Failed to get network interfaces.");
    return {};
  }
  // An address that is not UTF-8 is no address text: that interface has none.
  for (const NetworkInterface& interface : *interfaces) {
    if (interface.hardwareAddress && isUtf8Text(*interface.hardwareAddress)) return *interface.hardwareAddress;
  }
  services.diagnostics.printLine("No MAC address found.");
  return {};
}

std::string SSLFunctions::getPlatformUUID(const IdentityServices& services) {
  const auto uuid = services.hardware.platformUuid();
  return uuid && isUtf8Text(*uuid) ? *uuid : std::string();
}

}  // namespace quillon
