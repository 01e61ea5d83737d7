#include "embedding/link_listener.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <glib/gstdio.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "base/printed_lines.h"

namespace quillon {

namespace {

constexpr guint kRetrySeconds = 1;
// Connections accepted (or shed) in one turn of the main loop. The socket stays
// readable while more wait, so the rest come in the next turns, after the
// connections already accepted have had theirs: a flood of connections can
// neither hold the loop nor take every descriptor before any is served.
constexpr int kAcceptsPerTurn = 32;

Failure systemError(const std::string& what) { return Failure{what + ": " + std::strerror(errno)}; }

UniqueFd acceptOne(int listening) {
  return UniqueFd(::accept4(listening, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
}

// The descriptor kept in reserve for the moment none is left.
UniqueFd takeSpare() { return UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC)); }

bool outOfDescriptors(int error) { return error == EMFILE || error == ENFILE; }

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

Expected<void> createDirectories(const std::filesystem::path& directory) {
  if (directory.empty()) return {};
  struct stat status {};
  if (::stat(directory.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return {};
    return Failure{directory.string() + " is not a directory"};
  }
  if (auto created = createDirectories(directory.parent_path()); !created.hasValue()) return created;
  if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) return systemError("cannot create " + directory.string());
  // mkdir() honours the umask, which may only take bits away; say it exactly.
  if (::chmod(directory.c_str(), 0700) != 0) return systemError("cannot restrict " + directory.string());
  return {};
}

}  // namespace

LinkListener::LinkListener(std::string path, uid_t allowedUser) : path_(std::move(path)), allowedUser_(allowedUser) {}

LinkListener::~LinkListener() { close(); }

Failure LinkListener::servedElsewhere() {
  anotherHostServes_ = true;
  return Failure{"another host already serves " + path_};
}

Expected<void> LinkListener::clearPath() {
  struct stat status {};
  if (::lstat(path_.c_str(), &status) != 0) {
    if (errno == ENOENT) return {};
    return systemError("cannot inspect " + path_);
  }
  if (!S_ISSOCK(status.st_mode)) return Failure{path_ + " exists and is not a socket"};
  if (someoneListens(*socketAddress(path_))) return servedElsewhere();
  if (::unlink(path_.c_str()) != 0 && errno != ENOENT) return systemError("cannot remove the stale socket " + path_);
  return {};
}

Expected<void> LinkListener::listen(AcceptHandler onAccepted) {
  const auto address = socketAddress(path_);
  if (!address) return Failure{"the socket path '" + path_ + "' is empty or too long for a Unix socket"};
  if (auto created = createDirectories(std::filesystem::path(path_).parent_path()); !created.hasValue()) return created;
  if (auto cleared = clearPath(); !cleared.hasValue()) return cleared;

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
  spare_ = takeSpare();
  onAccepted_ = std::move(onAccepted);
  watchSocket();
  return {};
}

void LinkListener::watchSocket() { source_ = g_unix_fd_add(socket_.get(), G_IO_IN, onAcceptable, this); }

void LinkListener::close() {
  if (!socket_.valid()) return;
  if (source_ != 0) g_source_remove(std::exchange(source_, 0u));
  if (retrySource_ != 0) g_source_remove(std::exchange(retrySource_, 0u));
  socket_.reset();
  spare_.reset();
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

gboolean LinkListener::onRetry(gpointer self) {
  auto* listener = static_cast<LinkListener*>(self);
  listener->retrySource_ = 0;
  if (!listener->spare_.valid()) listener->spare_ = takeSpare();
  listener->watchSocket();
  return G_SOURCE_REMOVE;
}

void LinkListener::acceptPending() {
  for (int turn = 0; turn < kAcceptsPerTurn; ++turn) {
    UniqueFd client = acceptOne(socket_.get());
    if (client.valid()) {
      accepted(std::move(client));
      continue;
    }
    const int error = errno;
    if (error == EINTR || error == ECONNABORTED) continue;
    if (error == EAGAIN || error == EWOULDBLOCK) return;
    reportCannotAccept(error);
    if (outOfDescriptors(error)) {
      const Shed shed = shedOneWaiting();
      if (shed == Shed::closedOne) continue;
      if (shed == Shed::nothingWaiting) return;
    }
    return pauseAccepting();
  }
}

void LinkListener::accepted(UniqueFd client) {
  cannotAccept_ = false;
  ucred credentials{};
  socklen_t size = sizeof credentials;
  if (::getsockopt(client.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 ||
      credentials.uid != allowedUser_) {
    standardErrorLines().print("refused interface connections",
                               "quillon-host: refused an interface connection of user " +
                                   std::to_string(static_cast<unsigned>(credentials.uid)));
    return;
  }
  onAccepted_(std::move(client));
}

// Lets the spare go for as long as it takes to accept the first waiting
// connection and close it unanswered (its client sees the end of the stream),
// so that it stops making the socket readable.
LinkListener::Shed LinkListener::shedOneWaiting() {
  if (!spare_.valid()) return Shed::stuck;
  spare_.reset();
  UniqueFd refused = acceptOne(socket_.get());
  const int error = errno;
  const bool closedOne = refused.valid();
  refused.reset();
  spare_ = takeSpare();
  if (!spare_.valid()) return Shed::stuck;
  if (closedOne || error == EINTR || error == ECONNABORTED) return Shed::closedOne;
  if (error == EAGAIN || error == EWOULDBLOCK) return Shed::nothingWaiting;
  return Shed::stuck;
}

// Stops watching the socket, whose waiting connections would wake the loop
// without end, and looks again later.
void LinkListener::pauseAccepting() {
  if (source_ != 0) g_source_remove(std::exchange(source_, 0u));
  retrySource_ = g_timeout_add_seconds(kRetrySeconds, onRetry, this);
}

void LinkListener::reportCannotAccept(int error) {
  if (std::exchange(cannotAccept_, true)) return;
  std::fprintf(stderr,
               "quillon-host: accepting an interface connection: %s; interface connections are not served until "
               "this passes\n",
               std::strerror(error));
}

}  // namespace quillon
