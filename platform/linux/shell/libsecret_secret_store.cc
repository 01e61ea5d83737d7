#include "platform/linux/shell/libsecret_secret_store.h"

#include <libsecret/secret.h>

#include "platform/linux/shell/libsecret_listing.h"
#include "platform/linux/shell/libsecret_operation.h"
#include "platform/linux/shell/libsecret_value.h"

namespace quillon {
namespace {

constexpr const char* kKeyAttribute = "key";
constexpr const char* kLabelPrefix = "QUILLON Remote App: ";

// The schema name is part of every stored item: changing it would lose the
// users' secrets. Its reserved fields stay zero.
SecretSchema makeSchema() {
  SecretSchema schema{};
  schema.name = "app.quillon.SecureStorage";
  schema.flags = SECRET_SCHEMA_NONE;
  schema.attributes[0] = {kKeyAttribute, SECRET_SCHEMA_ATTRIBUTE_STRING};
  return schema;
}

const SecretSchema kSchema = makeSchema();

using DoneOperation = LibsecretOperation<void>;
using LookupOperation = LibsecretOperation<std::optional<std::string>>;

// Storing and clearing succeed unless there is an error: clearing nothing
// answers false without one.
template <gboolean (*finish)(GAsyncResult*, GError**)>
void onDone(GObject*, GAsyncResult* result, gpointer data) {
  const auto operation = DoneOperation::resume(data);
  g_autoptr(GError) error = nullptr;
  finish(result, &error);
  if (error != nullptr) return operation->complete(failureOf(error));
  operation->complete({});
}

void onLookedUp(GObject*, GAsyncResult* result, gpointer data) {
  const auto operation = LookupOperation::resume(data);
  g_autoptr(GError) error = nullptr;
  g_autoptr(SecretValue) value = secret_password_lookup_binary_finish(result, &error);
  if (error != nullptr) return operation->complete(failureOf(error));
  operation->complete(value != nullptr ? std::optional(textOf(value)) : std::nullopt);
}

void onFound(GObject*, GAsyncResult* result, gpointer data) {
  auto operation = LibsecretOperation<SecretStore::Entries>::resume(data);
  g_autoptr(GError) error = nullptr;
  GList* items = secret_password_search_finish(result, &error);
  if (error != nullptr) return operation->complete(failureOf(error));
  readListedSecrets(items, kKeyAttribute, std::move(operation));
}

}  // namespace

LibsecretSecretStore::LibsecretSecretStore() : cancellable_(g_cancellable_new()) {}

LibsecretSecretStore::~LibsecretSecretStore() { g_cancellable_cancel(cancellable_.get()); }

void LibsecretSecretStore::store(const std::string& key, const std::string& value, Completion<void> done) {
  const std::string label = kLabelPrefix + key;
  g_autoptr(SecretValue) secret = secretValueOf(value);
  gpointer operation = DoneOperation::start(cancellable_.get(), std::move(done));
  secret_password_store_binary(&kSchema, SECRET_COLLECTION_DEFAULT, label.c_str(), secret, cancellable_.get(),
                               onDone<secret_password_store_finish>, operation, kKeyAttribute, key.c_str(), nullptr);
}

void LibsecretSecretStore::lookup(const std::string& key, Completion<std::optional<std::string>> done) {
  gpointer operation = LookupOperation::start(cancellable_.get(), std::move(done));
  secret_password_lookup(&kSchema, cancellable_.get(), onLookedUp, operation, kKeyAttribute, key.c_str(), nullptr);
}

void LibsecretSecretStore::remove(const std::string& key, Completion<void> done) {
  gpointer operation = DoneOperation::start(cancellable_.get(), std::move(done));
  secret_password_clear(&kSchema, cancellable_.get(), onDone<secret_password_clear_finish>, operation, kKeyAttribute,
                        key.c_str(), nullptr);
}

void LibsecretSecretStore::list(Completion<Entries> done) {
  // Loading the secrets with the search saves a call to the service per item.
  constexpr auto kFlags =
      static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | SECRET_SEARCH_UNLOCK | SECRET_SEARCH_LOAD_SECRETS);
  gpointer operation = LibsecretOperation<Entries>::start(cancellable_.get(), std::move(done));
  secret_password_search(&kSchema, kFlags, cancellable_.get(), onFound, operation, nullptr);
}

// With no attribute to match, every item of the schema goes, and only those.
void LibsecretSecretStore::removeAll(Completion<void> done) {
  gpointer operation = DoneOperation::start(cancellable_.get(), std::move(done));
  secret_password_clear(&kSchema, cancellable_.get(), onDone<secret_password_clear_finish>, operation, nullptr);
}

}  // namespace quillon
