#include "app/secret_arguments.h"

#include "app/plugins/flutter_secure_storage_plugin.h"
#include "channel/channel_names.h"

namespace quillon {

std::vector<SecretArgument> secretArguments() {
  return {
      {FlutterSecureStoragePlugin::kChannel, "write", "value"},
      {kNativeCommandChannel, "ssl::addCertificate", "certificate"},
  };
}

}  // namespace quillon
