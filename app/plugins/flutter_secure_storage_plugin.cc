#include "app/plugins/flutter_secure_storage_plugin.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "channel/utf8_text.h"
#include "commands/argument_limits.h"
#include "commands/command_arguments.h"
#include "commands/command_replies.h"
#include "embedding/method_channel.h"

namespace quillon {
namespace {

using Entries = SecretStore::Entries;
using Value = std::optional<std::string>;

void answerFailure(ReplyCallback reply, const Failure& failure) {
  std::move(reply).error(FlutterSecureStoragePlugin::kStoreError, toUtf8Text(failure.reason));
}

// A completion that answers `reply` with what `present` makes of the store's
// value, or with the store's failure.
template <typename T, typename Present>
SecretStore::Completion<T> answerWith(ReplyCallback reply, Present present) {
  return [reply = std::move(reply), present](Expected<T> result) mutable {
    if (!result.hasValue()) return answerFailure(std::move(reply), result.error());
    std::move(reply).success(present(*std::move(result)));
  };
}

// A completion that answers `reply` with null, or with the store's failure.
SecretStore::Completion<void> answerDone(ReplyCallback reply) {
  return [reply = std::move(reply)](Expected<void> result) mutable {
    if (!result.hasValue()) return answerFailure(std::move(reply), result.error());
    std::move(reply).success();
  };
}

// The interface stores text only. A value that is not UTF-8 was put there by
// another program and is not one of the interface's: it counts as not stored.
bool isStoredText(const Value& value) { return value && isUtf8Text(*value); }

ChannelValue valueOrNull(Value value) { return isStoredText(value) ? ChannelValue(std::move(*value)) : ChannelValue(); }
ChannelValue presence(const Value& value) { return isStoredText(value); }

ChannelValue entriesMap(const Entries& entries) {
  ChannelMap map;
  map.reserve(entries.size());
  for (const auto& [key, value] : entries) {
    if (isUtf8Text(key) && isUtf8Text(value)) map.appendUnique(key, value);
  }
  return map;
}

// A call on one key, started once the key has been found in its arguments.
struct KeyedCall {
  std::string_view method;
  void (*start)(SecretStore& store, const std::string& key, const CommandArguments& arguments, ReplyCallback reply);
};

void writeValue(SecretStore& store, const std::string& key, const CommandArguments& arguments, ReplyCallback reply) {
  const std::string* value = arguments.string("value");
  if (value == nullptr) return answerInvalidArgument(std::move(reply), "Expected a string \"value\"");
  if (refuseBeyondLimit(kSecretValueLimit, *value, reply)) return;
  store.store(key, *value, answerDone(std::move(reply)));
}

void readValue(SecretStore& store, const std::string& key, const CommandArguments&, ReplyCallback reply) {
  store.lookup(key, answerWith<Value>(std::move(reply), valueOrNull));
}

void checkKey(SecretStore& store, const std::string& key, const CommandArguments&, ReplyCallback reply) {
  store.lookup(key, answerWith<Value>(std::move(reply), presence));
}

void removeValue(SecretStore& store, const std::string& key, const CommandArguments&, ReplyCallback reply) {
  store.remove(key, answerDone(std::move(reply)));
}

constexpr std::array kKeyedCalls{
    KeyedCall{"write", &writeValue},
    KeyedCall{"read", &readValue},
    KeyedCall{"containsKey", &checkKey},
    KeyedCall{"delete", &removeValue},
};

void answerKeyedCall(SecretStore& store, const KeyedCall& keyed, const MethodCall& call, ReplyCallback reply) {
  const std::optional<CommandArguments> arguments = CommandArguments::from(call.arguments);
  const std::string* key = arguments ? arguments->string("key") : nullptr;
  if (key == nullptr) return answerInvalidArgument(std::move(reply), "Expected a string \"key\"");
  if (refuseBeyondLimit(kSecretKeyLimit, *key, reply)) return;
  keyed.start(store, *key, *arguments, std::move(reply));
}

void answerStorageCall(SecretStore& store, const MethodCall& call, ReplyCallback reply) {
  if (call.method == "readAll") return store.list(answerWith<Entries>(std::move(reply), entriesMap));
  if (call.method == "deleteAll") return store.removeAll(answerDone(std::move(reply)));
  const auto keyed = std::ranges::find(kKeyedCalls, call.method, &KeyedCall::method);
  if (keyed == kKeyedCalls.end()) return std::move(reply).notImplemented();
  answerKeyedCall(store, *keyed, call, std::move(reply));
}

}  // namespace

void FlutterSecureStoragePlugin::registerWith(const PluginRegistrar& registrar) {
  MethodChannel(registrar.messenger(), kChannel)
      .setMethodCallHandler([&store = registrar.services().secrets](const MethodCall& call, ReplyCallback reply) {
        answerStorageCall(store, call, std::move(reply));
      });
}

}  // namespace quillon
