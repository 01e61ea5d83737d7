// FlutterSecureStoragePlugin: the native half of the interface's secure
// key-value storage, kept in the desktop's SecretStore, over the channel
// "plugins.it_nomads.com/flutter_secure_storage". The calls on one key take
// a map; an "options" entry in it, or any other, is ignored:
//   "write" {"key": String, "value": String} -> null, the value replaced;
//   "read" {"key": String} -> the value, or null when there is none;
//   "containsKey" {"key": String} -> whether there is a value;
//   "delete" {"key": String} -> null, whether or not there was a value;
//   without a string "key", or "value" for "write" -> "INVALID_ARGUMENT";
//   a key or value beyond kSecretKeyLimit or kSecretValueLimit
//       (commands/argument_limits.h) -> "INVALID_ARGUMENT", the store untouched;
// and two calls whose arguments are ignored:
//   "readAll" -> a map of every key to its value, keys in byte order;
//   "deleteAll" -> null;
// any of them, when the store fails -> "SECRET_STORE_ERROR" with the store's
// reason; any other name -> not-implemented.
//
// Contract: each call is answered exactly once, from the store's completion,
// which may come long after the handler has returned; the completion holds
// the call's reply and nothing else of the plug-in.
#pragma once

#include "app/plugin_registry.h"

namespace quillon {

class FlutterSecureStoragePlugin {
 public:
  static constexpr const char* kChannel = "plugins.it_nomads.com/flutter_secure_storage";
  static constexpr const char* kStoreError = "SECRET_STORE_ERROR";

  static void registerWith(const PluginRegistrar& registrar);
};

}  // namespace quillon
