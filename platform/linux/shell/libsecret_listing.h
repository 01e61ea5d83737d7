// The end of a list operation: the items that libsecret's search found carry
// their keys as attributes, but their secrets have to be retrieved, each with
// an asynchronous call of its own. They are read one after the other.
//
// Contract: takes ownership of `items` (a list of SecretRetrievable, as
// secret_password_search_finish() returns it) and of `operation`, which it
// completes exactly once: with every key and its value, or with the first
// failure. An item without `keyAttribute` is skipped; of items that share a
// key, the first found is kept.
#pragma once

#include <gio/gio.h>

#include <memory>

#include "platform/linux/shell/libsecret_operation.h"

namespace quillon {

void readListedSecrets(GList* items, const char* keyAttribute,
                       std::unique_ptr<LibsecretOperation<SecretStore::Entries>> operation);

}  // namespace quillon
