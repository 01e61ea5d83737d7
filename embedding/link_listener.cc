#include "embedding/link_listener.h"

#include <glib-unix.h>
#include <glib/gstdio.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace quillon {

namespace {

std::string systemError(const std::string& what) { return what + ": " + std::strerror(errno); }

std::optional<sockaddr_un> socketAddress(const std::string& path) {
  sockaddr_un address{};
  if (path.empty() || path.size() >= sizeof address.sun_path) return std::nullopt;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

int bindSocket(int fd, const sockaddr_un& address) {
  return ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

// Whether a host answers at `address`: a connection that is accepted or merely
// queued means a live listener; a refused one means the file is left over.
bool someoneListens(const sockaddr_un& address) {
  UniqueFd probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!probe.valid()) return false;
  int result;
  do {
    result = ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  } while (result != 0 && errno == EINTR);
  return result == 0 || errno == EAGAIN || errno == EINPROGRESS;
}

std::optional<std::string> createDirectories(const std::filesystem::path& directory) {
  if (directory.empty()) return std::nullopt;
  struct stat status {};
  if (::stat(directory.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return std::nullopt;
    return directory.string() + " is not a directory";
  }
  if (auto failure = createDirectories(directory.parent_path())) return failure;
  if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) return systemError("cannot create " + directory.string());
  // mkdir() honours the umask, which may only take bits away; say it exactly.
  if (::chmod(directory.c_str(), 0700) != 0) return systemError("cannot restrict " + directory.string());
  return std::nullopt;
}

}  // namespace

LinkListener::LinkListener(std::string path, uid_t allowedUser) : path_(std::move(path)), allowedUser_(allowedUser) {}

LinkListener::~LinkListener() { close(); }

std::string LinkListener::servedElsewhere() {
  anotherHostServes_ = true;
  return "another host already serves " + path_;
}

std::optional<std::string> LinkListener::clearPath() {
  struct stat status {};
  if (::lstat(path_.c_str(), &status) != 0) {
    if (errno == ENOENT) return std::nullopt;
    return systemError("cannot inspect " + path_);
  }
  if (!S_ISSOCK(status.st_mode)) return path_ + " exists and is not a socket";
  if (someoneListens(*socketAddress(path_))) return servedElsewhere();
  if (::unlink(path_.c_str()) != 0 && errno != ENOENT) return systemError("cannot remove the stale socket " + path_);
  return std::nullopt;
}

std::optional<std::string> LinkListener::listen(AcceptHandler onAccepted) {
  const auto address = socketAddress(path_);
  if (!address) return "the socket path '" + path_ + "' is empty or too long for a Unix socket";
  if (auto failure = createDirectories(std::filesystem::path(path_).parent_path())) return failure;
  if (auto failure = clearPath()) return failure;

  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket.valid()) return systemError("cannot create a socket");
  if (bindSocket(socket.get(), *address) != 0) {
    // Another host may have taken the path since we looked.
    if (errno == EADDRINUSE) return servedElsewhere();
    return systemError("cannot bind " + path_);
  }
  struct stat status {};
  if (::chmod(path_.c_str(), 0600) != 0 || ::stat(path_.c_str(), &status) != 0) {
    const auto failure = systemError("cannot restrict " + path_);
    ::unlink(path_.c_str());
    return failure;
  }
  if (::listen(socket.get(), SOMAXCONN) != 0) {
    const auto failure = systemError("cannot listen on " + path_);
    ::unlink(path_.c_str());
    return failure;
  }
  device_ = status.st_dev;
  inode_ = status.st_ino;
  socket_ = std::move(socket);
  onAccepted_ = std::move(onAccepted);
  source_ = g_unix_fd_add(socket_.get(), G_IO_IN, onAcceptable, this);
  return std::nullopt;
}

void LinkListener::close() {
  if (!socket_.valid()) return;
  g_source_remove(std::exchange(source_, 0u));
  socket_.reset();
  // Leave the path alone if another host has replaced our socket meanwhile.
  struct stat status {};
  if (::lstat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_) {
    ::unlink(path_.c_str());
  }
}

gboolean LinkListener::onAcceptable(gint, GIOCondition, gpointer self) {
  static_cast<LinkListener*>(self)->acceptPending();
  return G_SOURCE_CONTINUE;
}

void LinkListener::acceptPending() {
  for (;;) {
    UniqueFd client(::accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!client.valid()) {
      if (errno == EINTR || errno == ECONNABORTED) continue;
      if (errno != EAGAIN && errno != EWOULDBLOCK) std::perror("quillon-host: accepting an interface connection");
      return;
    }
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(client.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 ||
        credentials.uid != allowedUser_) {
      std::fprintf(stderr, "quillon-host: refused an interface connection of user %u\n",
                   static_cast<unsigned>(credentials.uid));
      continue;
    }
    onAccepted_(std::move(client));
  }
}

}  // namespace quillon
