#include "platform/linux/shell/libsecret_listing.h"

#include <libsecret/secret.h>

#include <string>

#include "base/c_owner.h"
#include "platform/linux/shell/libsecret_value.h"

namespace quillon {
namespace {

using ListOperation = LibsecretOperation<SecretStore::Entries>;

class Listing {
 public:
  Listing(GList* items, const char* keyAttribute, std::unique_ptr<ListOperation> operation)
      : items_(items), next_(items), keyAttribute_(keyAttribute), operation_(std::move(operation)) {}

  // Retrieves the next secret, or completes when none is left; the listing
  // travels as the callback's data.
  static void readNext(std::unique_ptr<Listing> listing) {
    if (listing->next_ == nullptr) return listing->operation_->complete(std::move(listing->entries_));
    GCancellable* cancellable = listing->operation_->cancellable();
    SecretRetrievable* item = SECRET_RETRIEVABLE(listing->next_->data);
    secret_retrievable_retrieve_secret(item, cancellable, onRetrieved, listing.release());
  }

 private:
  static void freeItems(GList* items) { g_list_free_full(items, g_object_unref); }

  static void onRetrieved(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Listing> listing(static_cast<Listing*>(data));
    SecretRetrievable* item = SECRET_RETRIEVABLE(source);
    g_autoptr(GError) error = nullptr;
    g_autoptr(SecretValue) value = secret_retrievable_retrieve_secret_finish(item, result, &error);
    if (error != nullptr) return listing->operation_->complete(failureOf(error));
    listing->add(item, value);
    listing->next_ = listing->next_->next;
    readNext(std::move(listing));
  }

  void add(SecretRetrievable* item, SecretValue* value) {
    g_autoptr(GHashTable) attributes = secret_retrievable_get_attributes(item);
    const auto* key = static_cast<const char*>(g_hash_table_lookup(attributes, keyAttribute_));
    if (key != nullptr && value != nullptr) entries_.emplace(key, textOf(value));
  }

  COwner<GList, freeItems> items_;
  GList* next_;
  const char* keyAttribute_;
  std::unique_ptr<ListOperation> operation_;
  SecretStore::Entries entries_;
};

}  // namespace

void readListedSecrets(GList* items, const char* keyAttribute, std::unique_ptr<ListOperation> operation) {
  Listing::readNext(std::make_unique<Listing>(items, keyAttribute, std::move(operation)));
}

}  // namespace quillon
