// LinkClient: the interface's end of the link, blocking, for command-line tools
// and tests.
//
// Contract: used from one thread. connect() talks only to a host of this
// process's own user, and gives up at its deadline. request() waits for the
// reply to its own message; messages the host sends meanwhile are kept, in
// order, for nextMessage(). Every wait has a deadline (kForever waits without
// one), sending included. After an error the connection is unusable; connect
// again. Failures carry their reason.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/expected.h"
#include "base/unique_fd.h"
#include "channel/channel_reply.h"
#include "channel/method_call.h"
#include "embedding/link_frame.h"

namespace quillon {

class LinkClient {
 public:
  static constexpr std::chrono::milliseconds kForever{-1};
  // How long connect() waits for a host that does not take the connection at once.
  static constexpr std::chrono::seconds kConnectTime{10};

  // Why connect() failed; the kind tells a listener of another user apart.
  struct ConnectFailure {
    enum class Kind { noHost, anotherUser };
    Kind kind;
    std::string reason;
  };

  struct HostMessage {
    std::uint32_t id = 0;  // 0: the sender wants no reply.
    std::string channel;
    std::vector<std::uint8_t> payload;
  };

  // Fails when no host takes the connection at `path` within `timeout` (one
  // whose queue of connections stays full, as a stopped host's does), and when
  // the program listening there runs as another user: its answers would not
  // be the host's, and what the client sends is not for it.
  static Expected<std::unique_ptr<LinkClient>, ConnectFailure> connect(
      const std::string& path, std::chrono::milliseconds timeout = kConnectTime);

  explicit LinkClient(UniqueFd socket) : socket_(std::move(socket)) {}
  LinkClient(const LinkClient&) = delete;
  LinkClient& operator=(const LinkClient&) = delete;

  // Sends a message on `channel` and waits for its reply payload (empty for not-implemented).
  Expected<std::vector<std::uint8_t>> request(std::string_view channel, std::span<const std::uint8_t> payload,
                                              std::chrono::milliseconds timeout);
  // request() with the standard method codec on both sides.
  Expected<ChannelReply> call(std::string_view channel, const MethodCall& call, std::chrono::milliseconds timeout);
  // Writes bytes as they are, framed or not, waiting as long as the host takes them.
  Expected<void> sendRaw(std::span<const std::uint8_t> bytes);

  // The next message from the host.
  Expected<HostMessage> nextMessage(std::chrono::milliseconds timeout);
  // Whether the host closes the connection before the deadline (frames that arrive meanwhile are skipped).
  bool waitForClose(std::chrono::milliseconds timeout);
  // Whether the host has closed the connection.
  bool hostClosed() const { return hostClosed_; }

 private:
  // A wait's end, and its length for the failure's reason; none: no end.
  struct Deadline {
    explicit Deadline(std::chrono::milliseconds timeout);
    // The milliseconds poll() may still wait: -1 without an end.
    int pollTime() const;
    std::optional<std::chrono::steady_clock::time_point> end;
    std::chrono::milliseconds length;
  };

  Expected<void> send(std::span<const std::uint8_t> bytes, const Deadline& deadline);
  Expected<LinkFrame> readFrame(const Deadline& deadline);

  UniqueFd socket_;
  FrameReader reader_;
  std::deque<HostMessage> pending_;
  std::uint32_t nextId_ = 1;
  bool hostClosed_ = false;
};

}  // namespace quillon
