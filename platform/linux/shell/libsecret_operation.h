// LibsecretOperation: one SecretStore operation in flight in libsecret, handed
// to it as the callback's data and taken back in the callback.
//
// Contract: the operation owns its completion and a reference of its own to
// the store's cancellable. complete() calls the completion unless the store
// has cancelled meanwhile, i.e. has been destroyed: then the completion is
// destroyed uncalled, since whatever it answers may have gone with the store.
// Every callback takes its operation back exactly once (resume), so each
// operation is freed however it ends.
#pragma once

#include <gio/gio.h>

#include <memory>
#include <utility>

#include "base/c_owner.h"
#include "platform/secret_store.h"

namespace quillon {

template <typename T>
class LibsecretOperation {
 public:
  // The data to give libsecret's call; the callback must resume() it.
  static gpointer start(GCancellable* cancellable, SecretStore::Completion<T> done) {
    return new LibsecretOperation(cancellable, std::move(done));
  }
  static std::unique_ptr<LibsecretOperation> resume(gpointer data) {
    return std::unique_ptr<LibsecretOperation>(static_cast<LibsecretOperation*>(data));
  }

  GCancellable* cancellable() const { return cancellable_.get(); }

  void complete(Expected<T> result) {
    if (!g_cancellable_is_cancelled(cancellable_.get())) std::move(done_)(std::move(result));
  }

 private:
  LibsecretOperation(GCancellable* cancellable, SecretStore::Completion<T> done)
      : cancellable_(G_CANCELLABLE(g_object_ref(cancellable))), done_(std::move(done)) {}

  COwner<GCancellable, g_object_unref> cancellable_;
  SecretStore::Completion<T> done_;
};

}  // namespace quillon
