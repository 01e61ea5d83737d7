// PipelinedClient: an interface connection that sends calls without waiting for
// their answers, as an interface may, and reads the answers by id as they
// come; for tests and benchmarks of the order and the turns of calls.
//
// Contract: used from one thread; every wait has a deadline.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/unique_fd.h"
#include "channel/channel_reply.h"
#include "channel/method_call.h"
#include "embedding/link_frame.h"

namespace quillon::testing {

class PipelinedClient {
 public:
  using Answer = std::pair<std::uint32_t, ChannelReply>;

  // Nothing when no host answers at `path`.
  static std::unique_ptr<PipelinedClient> connect(const std::string& path);

  explicit PipelinedClient(UniqueFd socket) : socket_(std::move(socket)) {}

  // Sends the calls in one write, on the native command channel, each under its id.
  bool send(const std::vector<std::pair<std::uint32_t, MethodCall>>& calls);
  // The next answer; nothing when none comes in time or the host closed the
  // connection. Messages that the host sends on its own are passed over.
  std::optional<Answer> nextAnswer(std::chrono::milliseconds timeout);

 private:
  UniqueFd socket_;
  FrameReader reader_;
};

}  // namespace quillon::testing
