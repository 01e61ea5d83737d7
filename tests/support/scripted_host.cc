#include "tests/support/scripted_host.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

namespace quillon::testing {
namespace {

// A host's probe of whether the socket is live: connected, then closed
// without sending anything.
bool leftWithoutAWord(int socket) {
  pollfd peer{socket, POLLIN, 0};
  char byte;
  return ::poll(&peer, 1, 20'000) == 1 && ::recv(socket, &byte, 1, MSG_PEEK) == 0;
}

}  // namespace

ScriptedHost::ScriptedHost(std::string socketPath, Script script, bool passOverProbes) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
  listener_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener_.get(), 4) != 0) {
    return;
  }
  thread_ = std::thread([this, script = std::move(script), passOverProbes] {
    for (;;) {
      pollfd pending{listener_.get(), POLLIN, 0};
      if (::poll(&pending, 1, 20'000) != 1) return;
      UniqueFd accepted(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      if (passOverProbes && leftWithoutAWord(accepted.get())) continue;
      LinkClient client(std::move(accepted));
      script(client);
      return;
    }
  });
}

ScriptedHost::~ScriptedHost() {
  if (thread_.joinable()) thread_.join();
}

}  // namespace quillon::testing
