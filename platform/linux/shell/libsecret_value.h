// Conversions between libsecret's values and errors and the SecretStore's.
#pragma once

#include <glib.h>
#include <libsecret/secret.h>

#include <string>

#include "platform/secret_store.h"

namespace quillon {

// The secret's bytes, taken whole: a value may hold a NUL character.
inline std::string textOf(SecretValue* value) {
  gsize length = 0;
  const gchar* data = secret_value_get(value, &length);
  return std::string(data, length);
}

// A text value as libsecret stores it, with its length rather than up to a NUL.
inline SecretValue* secretValueOf(const std::string& text) {
  return secret_value_new(text.data(), static_cast<gssize>(text.size()), "text/plain");
}

// The service's reason, as the GError says it.
inline Failure failureOf(const GError* error) { return Failure{error->message}; }

}  // namespace quillon
