// SecretStore: the desktop's keyring as the interface's secure storage wants
// it: string values under string keys, one value per key, all of them the
// application's own.
//
// Contract: main thread only. Every operation returns at once and calls its
// completion exactly once, later, on the main thread, with either its result
// or the store's reason for failing (for example that no keyring service
// runs). The one exception is the store's end: the completions of operations
// still unfinished when it is destroyed are destroyed uncalled, so a
// completion never meets a store that has gone.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "base/expected.h"
#include "base/once_callback.h"

namespace quillon {

class SecretStore {
 public:
  using Entries = std::map<std::string, std::string>;
  template <typename T>
  using Completion = OnceCallback<void(Expected<T>)>;

  virtual ~SecretStore() = default;

  // Replaces the value under `key`, if there was one.
  virtual void store(const std::string& key, const std::string& value, Completion<void> done) = 0;
  // Nothing when no value is stored under `key`.
  virtual void lookup(const std::string& key, Completion<std::optional<std::string>> done) = 0;
  // Succeeds whether or not a value was stored under `key`.
  virtual void remove(const std::string& key, Completion<void> done) = 0;
  virtual void list(Completion<Entries> done) = 0;
  virtual void removeAll(Completion<void> done) = 0;
};

}  // namespace quillon
