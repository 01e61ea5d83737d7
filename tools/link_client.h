// LinkClient: the interface's end of the link, blocking, for command-line tools
// and tests.
//
// Contract: used from one thread. request() waits for the reply to its own
// message; messages the host sends meanwhile are kept, in order, for
// nextMessage(). Every wait has a deadline (kForever waits without one). After
// an error the connection is unusable; connect again.
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

  // Nothing, with `error` set, when no host answers at `path`.
  static std::unique_ptr<LinkClient> connect(const std::string& path, std::string* error);

  explicit LinkClient(UniqueFd socket) : socket_(std::move(socket)) {}
  LinkClient(const LinkClient&) = delete;
  LinkClient& operator=(const LinkClient&) = delete;

  // Sends a message on `channel` and waits for its reply payload (empty for not-implemented).
  std::optional<std::vector<std::uint8_t>> request(std::string_view channel, std::span<const std::uint8_t> payload,
                                                   std::chrono::milliseconds timeout, std::string* error);
  // request() with the standard method codec on both sides.
  std::optional<ChannelReply> call(std::string_view channel, const MethodCall& call, std::chrono::milliseconds timeout,
                                   std::string* error);
  // Writes bytes as they are, framed or not.
  bool sendRaw(std::span<const std::uint8_t> bytes, std::string* error);

  // The next message from the host.
  std::optional<HostMessage> nextMessage(std::chrono::milliseconds timeout, std::string* error);
  // Whether the host closes the connection before the deadline (frames that arrive meanwhile are skipped).
  bool waitForClose(std::chrono::milliseconds timeout);
  // Whether the host has closed the connection.
  bool hostClosed() const { return hostClosed_; }

 private:
  using Deadline = std::optional<std::chrono::steady_clock::time_point>;
  std::optional<LinkFrame> readFrame(Deadline deadline, std::string* error);
  static Deadline deadlineAfter(std::chrono::milliseconds timeout);

  UniqueFd socket_;
  FrameReader reader_;
  std::deque<HostMessage> pending_;
  std::uint32_t nextId_ = 1;
  bool hostClosed_ = false;
};

}  // namespace quillon
