#include "tests/support/scripted_host.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

namespace quillon::testing {

ScriptedHost::ScriptedHost(std::string socketPath, Script script) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
  listener_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener_.get(), 4) != 0) {
    return;
  }
  thread_ = std::thread([this, script = std::move(script)] {
    pollfd pending{listener_.get(), POLLIN, 0};
    if (::poll(&pending, 1, 20'000) != 1) return;
    LinkClient client(UniqueFd(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)));
    script(client);
  });
}

ScriptedHost::~ScriptedHost() {
  if (thread_.joinable()) thread_.join();
}

}  // namespace quillon::testing
