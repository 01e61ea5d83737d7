// CallSummariser: a received call's arguments as the list of latest calls
// shows them: one line of at most kArgumentsWidth characters, in the notation
// of describe() (strings quoted, maps in braces, lists in brackets), cut
// where the width ends. No byte is shown of what may be private: a list of
// bytes shows its size, and so does every secret argument (a stored secret,
// a certificate), whatever its type.
//
// Contract: the work per call is bounded by the width, however large the
// arguments: the walk stops once the line is full.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "channel/method_call.h"

namespace quillon {

inline constexpr std::size_t kArgumentsWidth = 120;

// An argument that holds a secret: the entry `key` of the argument map of
// `method` on `channel`.
struct SecretArgument {
  std::string channel;
  std::string method;
  std::string key;
};

class CallSummariser {
 public:
  explicit CallSummariser(std::vector<SecretArgument> secrets) : secrets_(std::move(secrets)) {}

  // Empty for null arguments (a call without any).
  std::string arguments(std::string_view channel, const MethodCall& call) const;

 private:
  std::vector<SecretArgument> secrets_;
};

}  // namespace quillon
