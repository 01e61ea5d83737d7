// ScriptedHost: a stand-in host for testing clients. It listens on a socket of
// its own, accepts one connection and runs a script against it on a thread of
// its own, speaking frames through a LinkClient on the accepted socket.
// With `passOverProbes`, connections that close without sending anything (a
// starting host's probe of whether the socket is live) are passed over.
//
// Contract: the destructor waits for the script; a script that finds no client
// within 20 s is not run.
#pragma once

#include <functional>
#include <string>
#include <thread>

#include "tools/link_client.h"

namespace quillon::testing {

class ScriptedHost {
 public:
  using Script = std::function<void(LinkClient& client)>;

  ScriptedHost(std::string socketPath, Script script, bool passOverProbes = false);
  ScriptedHost(const ScriptedHost&) = delete;
  ScriptedHost& operator=(const ScriptedHost&) = delete;
  ~ScriptedHost();

 private:
  UniqueFd listener_;
  std::thread thread_;
};

}  // namespace quillon::testing
