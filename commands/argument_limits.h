// How much text an argument may carry to where it goes. Each limit is far
// beyond any real use and keeps its path quick and harmless: an X property
// beyond the server's request size ends the host, Pango lays out a long word
// in time that grows with its square, ICU normalises a name once per process,
// the keyring rewrites its whole file on every change. A text that reaches a C
// string, where a NUL would cut it short and make it name something else, may
// hold none. docs/hostile-input.md gives each limit's reason.
//
// Contract: a check answers the call itself when the text is beyond its limit,
// with "INVALID_ARGUMENT" and a message beginning "Expected", as the other
// argument failures.
#pragma once

#include <cstddef>
#include <string_view>

#include "channel/reply_callback.h"

namespace quillon {

struct TextLimit {
  std::string_view name;  // The argument as the refusal names it.
  std::size_t longestBytes;
  bool nulAllowed = true;
};

// "quillon.app/instance" "activate": an X property and the startup-notification message.
inline constexpr TextLimit kStartupIdLimit{"startupId", 4096, false};
// "window::showAlert": laid out by Pango, in labels that GTK measures many times over.
inline constexpr TextLimit kAlertTitleLimit{"title", 256};
inline constexpr TextLimit kAlertMessageLimit{"message", 1024};
// "process::getProcessesByName": normalised and compared once per running process.
inline constexpr TextLimit kProcessNameLimit{"process name", 4096};
// "ssl::isCertificateAvailable" and "ssl::addCertificate": NSS's label search and decoder.
inline constexpr TextLimit kCertificateSubjectLimit{"subject", 4096};
inline constexpr TextLimit kCertificateLimit{"certificate", 1024 * 1024};
// The URL plug-in: the argument of the program that opens it.
inline constexpr TextLimit kUrlLimit{"url", 64 * 1024, false};
// The secure-storage plug-in: an attribute and a secret in the user's keyring.
inline constexpr TextLimit kSecretKeyLimit{"a string \"key\"", 4096, false};
inline constexpr TextLimit kSecretValueLimit{"a string \"value\"", 64 * 1024};

// Whether `text` keeps to `limit`.
bool keepsTo(const TextLimit& limit, std::string_view text);

// Whether `text` breaks `limit`; if so, answers "INVALID_ARGUMENT" with its
// refusal and consumes `reply`, else leaves `reply` untouched.
bool refuseBeyondLimit(const TextLimit& limit, std::string_view text, ReplyCallback& reply);

}  // namespace quillon
