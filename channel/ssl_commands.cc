#include "channel/ssl_commands.h"

#include "channel/unbuilt_commands.h"

namespace quillon {

CommandList sslCommands() {
  return unbuiltCommands(
      {"ssl::isCertificateAvailable", "ssl::addCertificate", "ssl::getMacAddress", "ssl::getPlatformUUID"});
}

}  // namespace quillon
