#include "embedding/engine.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "embedding/link_listener.h"
#include "embedding/link_messenger.h"

namespace quillon {

namespace {

std::string defaultSocketDirectory() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime != nullptr && runtime[0] != '\0') return std::string(runtime) + "/quillon-host";
  return "/tmp/quillon-host-" + std::to_string(::getuid());
}

// The host's own directory may already exist, for instance in /tmp where anyone
// could have made it first: it must be ours and closed to everyone else.
Expected<void> claimPrivateDirectory(const std::string& directory) {
  if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) {
    return Failure{"cannot create " + directory + ": " + std::strerror(errno)};
  }
  struct stat status {};
  if (::lstat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
    return Failure{directory + " is not a directory"};
  }
  if (status.st_uid != ::getuid()) return Failure{directory + " belongs to another user"};
  if ((status.st_mode & 07777) != 0700 && ::chmod(directory.c_str(), 0700) != 0) {
    return Failure{"cannot restrict " + directory + ": " + std::strerror(errno)};
  }
  return {};
}

}  // namespace

class Engine::Link {
 public:
  explicit Link(std::string path) : listener(std::move(path), ::getuid()) {}

  LinkMessenger messenger;
  LinkListener listener;
};

std::string Engine::interfaceSocketPath() {
  const char* chosen = std::getenv("QUILLON_INTERFACE_SOCKET");
  if (chosen != nullptr && chosen[0] != '\0') return chosen;
  return defaultSocketPath();
}

std::string Engine::defaultSocketPath() { return defaultSocketDirectory() + "/interface.sock"; }

Engine::Engine(std::string socketPath) : link_(std::make_unique<Link>(std::move(socketPath))) {}

Engine::~Engine() { shutdown(); }

Expected<void> Engine::start() {
  const std::string directory = std::filesystem::path(socketPath()).parent_path().string();
  if (directory == defaultSocketDirectory()) {
    if (auto claimed = claimPrivateDirectory(directory); !claimed.hasValue()) return claimed;
  }
  return link_->listener.listen([this](UniqueFd socket) { link_->messenger.adopt(std::move(socket)); });
}

void Engine::shutdown() {
  link_->listener.close();
  link_->messenger.closeAll();
}

bool Engine::anotherHostServes() const { return link_->listener.anotherHostServes(); }

BinaryMessenger& Engine::binaryMessenger() { return link_->messenger; }

const std::string& Engine::socketPath() const { return link_->listener.path(); }

void Engine::setObserver(LinkObserver* observer) { link_->messenger.setObserver(observer); }

}  // namespace quillon
