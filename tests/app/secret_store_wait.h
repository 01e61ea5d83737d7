// Waiting for a SecretStore on the GLib default main context, as the host's
// main loop would, for at most a bound: a store that never completes fails
// the test instead of hanging it.
#pragma once

#include <glib.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "platform/secret_store.h"

namespace quillon::testing {

inline constexpr std::chrono::milliseconds kSecretStoreTimeout{20000};

// Turns the default main context until `done` holds or `timeout` passes;
// whether it held.
inline bool iterateUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  bool expired = false;
  const guint timer = g_timeout_add(
      static_cast<guint>(timeout.count()),
      [](gpointer flag) {
        *static_cast<bool*>(flag) = true;
        return gboolean{G_SOURCE_REMOVE};
      },
      &expired);
  while (!done() && !expired) g_main_context_iteration(nullptr, TRUE);
  if (!expired) g_source_remove(timer);
  return done();
}

// Starts an operation with a completion that keeps its result, and waits for
// it; nothing when it did not complete in time. The completion owns what it
// fills, so one that comes late harms nothing.
template <typename T>
std::optional<SecretStore::Result<T>> awaitResult(const std::function<void(SecretStore::Completion<T>)>& start,
                                                  std::chrono::milliseconds timeout = kSecretStoreTimeout) {
  auto result = std::make_shared<std::optional<SecretStore::Result<T>>>();
  start([result](SecretStore::Result<T> value) { *result = std::move(value); });
  iterateUntil([&] { return result->has_value(); }, timeout);
  return *result;
}

// The value of an operation that must have succeeded; otherwise a default
// value, and a failed test that says why.
template <typename T>
T succeeded(const std::optional<SecretStore::Result<T>>& result) {
  if (!result) {
    ADD_FAILURE() << "the secret store did not complete in time";
    return T{};
  }
  if (const auto* failure = std::get_if<SecretStore::Failure>(&*result)) {
    ADD_FAILURE() << "the secret store failed: " << failure->reason;
    return T{};
  }
  return std::get<T>(*result);
}

}  // namespace quillon::testing
