#include "tests/support/host_process.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>

#include "base/unique_fd.h"
#include "channel/channel_names.h"
#include "channel/standard_codec.h"

namespace quillon::testing {

namespace fs = std::filesystem;

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

bool acceptsConnections(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  UniqueFd probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

ScriptedHost::ScriptedHost(const std::string& socketPath, std::function<void(LinkClient& client)> script) {
  const sockaddr_un address = addressOf(socketPath);
  listener_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const bool listening = ::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                         ::listen(listener_.get(), 4) == 0;
  thread_ = std::thread([this, script = std::move(script), listening] {
    for (pollfd pending{listener_.get(), POLLIN, 0}; listening && ::poll(&pending, 1, 20'000) == 1;) {
      UniqueFd accepted(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      pollfd peer{accepted.get(), POLLIN, 0};
      char byte;
      if (::poll(&peer, 1, 20'000) == 1 && ::recv(accepted.get(), &byte, 1, MSG_PEEK) == 0) continue;  // A probe.
      LinkClient client(std::move(accepted));
      return script(client);
    }
  });
}

HostProcess::HostProcess(Layout layout) : layout_(layout) {
  fs::create_directories(dataPath());
  // A copy, not a link: the host finds its bundle through /proc/self/exe, which names the real file.
  fs::copy_file(QUILLON_HOST_BINARY, executablePath());
  socketPath_ = directory() + "/sockets/interface.sock";
}

HostProcess::~HostProcess() { stop(); }

ChildProcess::Environment HostProcess::clientEnvironment() const { return {{"QUILLON_INTERFACE_SOCKET", socketPath_}}; }

std::unique_ptr<ChildProcess> HostProcess::spawnHost(const std::string& name,
                                                     const ChildProcess::Environment& extra) const {
  // A home and a temporary directory of the bundle's own, so that the host's
  // certificate store and certificate files never touch the user's.
  ChildProcess::Environment environment{
      {"HOME", directory() + "/home"}, {"TMPDIR", directory()}, {"QUILLON_INTERFACE_SOCKET", socketPath_}};
  if (layout_.headless) environment["DISPLAY"] = environment["WAYLAND_DISPLAY"] = std::nullopt;
  for (const auto& changes : {layout_.environment, extra}) {
    for (const auto& [variable, value] : changes) environment[variable] = value;
  }
  std::vector<std::string> command = layout_.launcher;
  command.push_back(executablePath());
  const std::string files = directory() + "/" + name;
  return std::make_unique<ChildProcess>(command.front(), std::vector<std::string>(command.begin() + 1, command.end()),
                                        environment, files + ".out", files + ".err");
}

bool HostProcess::waitReady(std::chrono::milliseconds timeout) {
  return waitUntil([this] { return !host_->running() || acceptsConnections(socketPath_); }, timeout) && host_->running();
}

std::optional<int> HostProcess::stop() {
  if (!host_) return std::nullopt;
  if (host_->running()) {
    if (const auto client = LinkClient::connect(socketPath_); client.hasValue()) {
      const auto forceQuit = StandardCodec::encodeMethodCall(MethodCall{"forceQuitApp", {}});
      (*client)->sendRaw(encodeMessageFrame(0, kAppCloseChannel, forceQuit));
    }
  }
  if (auto status = host_->waitExit(std::chrono::seconds(20))) return status;
  host_->signal(SIGKILL);
  return host_->waitExit(std::chrono::milliseconds(-1));
}

std::string HostProcess::output(const std::string& name) const { return readFile(directory() + "/" + name + ".out"); }
std::string HostProcess::errorOutput(const std::string& name) const { return readFile(directory() + "/" + name + ".err"); }

}  // namespace quillon::testing
