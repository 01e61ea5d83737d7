// LibsecretSecretStore: the SecretStore on the desktop's Secret Service (GNOME
// Keyring, KWallet and the like) through libsecret's asynchronous calls, so
// the main loop never waits on the service.
//
// Items carry the application's own schema, "app.quillon.SecureStorage", with
// the one string attribute "key"; they are stored in the default collection
// under the label "QUILLON Remote App: <key>", the value as UTF-8 text.
//
// Contract: main thread only, with the GLib default main context running the
// main loop: completions are delivered there. The store owns a cancellable
// that its destructor cancels; every operation holds its own reference to it
// and, once it is cancelled, destroys its completion uncalled. An operation's
// state lives until libsecret calls back, which takes a turn of the loop.
#pragma once

#include <gio/gio.h>

#include "base/c_owner.h"
#include "platform/secret_store.h"

namespace quillon {

class LibsecretSecretStore final : public SecretStore {
 public:
  LibsecretSecretStore();
  ~LibsecretSecretStore() override;
  LibsecretSecretStore(const LibsecretSecretStore&) = delete;
  LibsecretSecretStore& operator=(const LibsecretSecretStore&) = delete;

  void store(const std::string& key, const std::string& value, Completion<void> done) override;
  void lookup(const std::string& key, Completion<std::optional<std::string>> done) override;
  void remove(const std::string& key, Completion<void> done) override;
  void list(Completion<Entries> done) override;
  void removeAll(Completion<void> done) override;

 private:
  COwner<GCancellable, g_object_unref> cancellable_;
};

}  // namespace quillon
