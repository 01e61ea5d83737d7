// LinkListener: the listening Unix stream socket of the interface link.
//
// Contract: listen() once on the main thread. It creates the socket's missing
// directories with mode 0700, refuses a path that another host still serves,
// replaces a stale socket file and leaves the socket with mode 0600. Each
// accepted connection of the allowed user is handed over, non-blocking and
// close-on-exec, to the accept handler; a connection of any other user is
// closed at once. It accepts a few connections per turn of the main loop and
// leaves the rest waiting for the next turns, so that a flood of connections
// cannot hold the loop. close() (also done by the destructor) stops listening and
// removes the socket file if it is still the one this listener made.
//
// Out of descriptors, a waiting connection would make the socket readable
// without end. The listener keeps one spare descriptor: it lets it go to accept
// the connection that cannot be served and close it at once, then takes it
// back. When even that fails, it stops watching the socket and tries again
// once a second, leaving the connections queued. Either way it says so in one
// line per episode on standard error; an episode ends when a connection is
// accepted normally again.
#pragma once

#include <glib.h>
#include <sys/types.h>

#include <functional>
#include <string>

#include "base/expected.h"
#include "base/unique_fd.h"

namespace quillon {

class LinkListener {
 public:
  using AcceptHandler = std::function<void(UniqueFd socket)>;

  explicit LinkListener(std::string path, uid_t allowedUser);
  LinkListener(const LinkListener&) = delete;
  LinkListener& operator=(const LinkListener&) = delete;
  ~LinkListener();

  // Fails, with the reason, when the socket cannot be served.
  Expected<void> listen(AcceptHandler onAccepted);
  void close();

  // Whether listen() failed because a live host answers on the path.
  bool anotherHostServes() const { return anotherHostServes_; }

  const std::string& path() const { return path_; }

 private:
  enum class Shed { closedOne, nothingWaiting, stuck };

  static gboolean onAcceptable(gint fd, GIOCondition condition, gpointer self);
  static gboolean onRetry(gpointer self);
  Expected<void> clearPath();
  Failure servedElsewhere();
  void acceptPending();
  void accepted(UniqueFd client);
  Shed shedOneWaiting();
  void pauseAccepting();
  void watchSocket();
  void reportCannotAccept(int error);

  std::string path_;
  uid_t allowedUser_;
  AcceptHandler onAccepted_;
  UniqueFd socket_;
  UniqueFd spare_;
  guint source_ = 0;
  guint retrySource_ = 0;
  bool cannotAccept_ = false;  // An episode without descriptors has been reported.
  dev_t device_ = 0;
  ino_t inode_ = 0;
  bool anotherHostServes_ = false;
};

}  // namespace quillon
