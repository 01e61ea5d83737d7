#include "tests/support/pipelined_client.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "channel/channel_names.h"
#include "channel/standard_codec.h"

namespace quillon::testing {

std::unique_ptr<PipelinedClient> PipelinedClient::connect(const std::string& path) {
  sockaddr_un address{};
  if (path.size() >= sizeof address.sun_path) return nullptr;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return nullptr;
  return std::make_unique<PipelinedClient>(std::move(socket));
}

bool PipelinedClient::send(const std::vector<std::pair<std::uint32_t, MethodCall>>& calls) {
  std::vector<std::uint8_t> bytes;
  for (const auto& [id, call] : calls) {
    const auto frame = encodeMessageFrame(id, kNativeCommandChannel, StandardCodec::encodeMethodCall(call));
    bytes.insert(bytes.end(), frame.begin(), frame.end());
  }
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = ::send(socket_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

std::optional<PipelinedClient::Answer> PipelinedClient::nextAnswer(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    FrameParse parse = reader_.next();
    if (parse.status == FrameParse::Status::complete) {
      if (parse.frame.kind != FrameKind::reply) continue;
      const auto reply = StandardCodec::decodeReply(parse.frame.payload);
      return Answer{parse.frame.id, reply.hasValue() ? *reply : ChannelReply::error("TEST", "undecodable reply")};
    }
    if (parse.status == FrameParse::Status::malformed) return std::nullopt;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd readable{socket_.get(), POLLIN, 0};
    const int ready = ::poll(&readable, 1, static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0)));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return std::nullopt;
    std::uint8_t chunk[64 * 1024];
    const ssize_t count = ::recv(socket_.get(), chunk, sizeof chunk, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return std::nullopt;
    reader_.append(std::span<const std::uint8_t>(chunk, static_cast<std::size_t>(count)));
  }
}

}  // namespace quillon::testing
