// The interface's end of an in-process link: a socket the test writes frames to
// and reads frames from while it turns the GLib default main context, so that
// the host side runs in the same thread.
#pragma once

#include <glib.h>
#include <sys/socket.h>

#include <chrono>
#include <optional>

#include "base/unique_fd.h"
#include "embedding/link_frame.h"
#include "tests/support/child_process.h"

namespace quillon::testing {

// Turns the default main context until `condition` holds or the deadline passes.
template <typename Condition>
bool pumpUntil(Condition condition, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
  return waitUntil(
      [&] {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        return condition();
      },
      timeout);
}

class LinkPeer {
 public:
  explicit LinkPeer(UniqueFd socket) : socket_(std::move(socket)) {}

  // A connected pair: the peer, and the host's end to hand to the messenger.
  static std::pair<LinkPeer, UniqueFd> pair() {
    int ends[2];
    ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends);
    return {LinkPeer(UniqueFd(ends[0])), UniqueFd(ends[1])};
  }

  void send(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count > 0) bytes = bytes.subspan(static_cast<std::size_t>(count));
      else pumpUntil([] { return true; });  // Let the host drain its side.
    }
  }

  std::optional<LinkFrame> receive(std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
    std::optional<LinkFrame> frame;
    pumpUntil([&] { return (frame = take()).has_value() || closed_; }, timeout);
    return frame;
  }

  // Whether the host closes its end before the deadline.
  bool closedByHost(std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
    return pumpUntil([&] { return take(), closed_; }, timeout);
  }

 private:
  std::optional<LinkFrame> take() {
    std::uint8_t chunk[64 * 1024];
    for (;;) {
      FrameParse parse = reader_.next();
      if (parse.status == FrameParse::Status::complete) return std::move(parse.frame);
      const ssize_t count = ::recv(socket_.get(), chunk, sizeof chunk, MSG_DONTWAIT);
      if (count == 0) closed_ = true;
      if (count <= 0) return std::nullopt;
      reader_.append(std::span<const std::uint8_t>(chunk, static_cast<std::size_t>(count)));
    }
  }

  UniqueFd socket_;
  FrameReader reader_;
  bool closed_ = false;
};

}  // namespace quillon::testing
