// LinkClient: the interface's end of the link, blocking, for command-line tools
// and tests.
//
// Contract: used from one thread. request() waits for the reply to its own
// message; messages the host sends meanwhile are kept, in order, for
// nextMessage(). Every wait has a deadline (kForever waits without one). After
// an error the connection is unusable; connect again. Failures carry their
// reason.
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

  struct HostMessage {
    std::uint32_t id = 0;  // 0: the sender wants no reply.
    std::string channel;
    std::vector<std::uint8_t> payload;
  };

  // Fails when no host answers at `path`.
  static Expected<std::unique_ptr<LinkClient>> connect(const std::string& path);

  explicit LinkClient(UniqueFd socket) : socket_(std::move(socket)) {}
  LinkClient(const LinkClient&) = delete;
  LinkClient& operator=(const LinkClient&) = delete;

  // Sends a message on `channel` and waits for its reply payload (empty for not-implemented).
  Expected<std::vector<std::uint8_t>> request(std::string_view channel, std::span<const std::uint8_t> payload,
                                              std::chrono::milliseconds timeout);
  // request() with the standard method codec on both sides.
  Expected<ChannelReply> call(std::string_view channel, const MethodCall& call, std::chrono::milliseconds timeout);
  // Writes bytes as they are, framed or not.
  Expected<void> sendRaw(std::span<const std::uint8_t> bytes);

  // The next message from the host.
  Expected<HostMessage> nextMessage(std::chrono::milliseconds timeout);
  // Whether the host closes the connection before the deadline (frames that arrive meanwhile are skipped).
  bool waitForClose(std::chrono::milliseconds timeout);
  // Whether the host has closed the connection.
  bool hostClosed() const { return hostClosed_; }

 private:
  using Deadline = std::optional<std::chrono::steady_clock::time_point>;
  Expected<LinkFrame> readFrame(Deadline deadline);
  static Deadline deadlineAfter(std::chrono::milliseconds timeout);

  UniqueFd socket_;
  FrameReader reader_;
  std::deque<HostMessage> pending_;
  std::uint32_t nextId_ = 1;
  bool hostClosed_ = false;
};

}  // namespace quillon
