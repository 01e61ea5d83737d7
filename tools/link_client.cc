#include "tools/link_client.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

#include "channel/standard_codec.h"

namespace quillon {

namespace {

Failure systemError(const std::string& what) { return Failure{what + ": " + std::strerror(errno)}; }

}  // namespace

Expected<std::unique_ptr<LinkClient>> LinkClient::connect(const std::string& path) {
  sockaddr_un address{};
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    return Failure{"the socket path '" + path + "' is empty or too long"};
  }
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.valid()) return systemError("cannot create a socket");
  int result;
  do {
    result = ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  } while (result != 0 && errno == EINTR);
  if (result != 0) return systemError("no host at " + path);
  return std::make_unique<LinkClient>(std::move(socket));
}

LinkClient::Deadline LinkClient::deadlineAfter(std::chrono::milliseconds timeout) {
  if (timeout < std::chrono::milliseconds::zero()) return std::nullopt;
  return std::chrono::steady_clock::now() + timeout;
}

Expected<void> LinkClient::sendRaw(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) {
      if (errno == EINTR) continue;
      return systemError("sending to the host failed");
    }
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return {};
}

Expected<LinkFrame> LinkClient::readFrame(Deadline deadline) {
  for (;;) {
    FrameParse parse = reader_.next();
    if (parse.status == FrameParse::Status::complete) return std::move(parse.frame);
    if (parse.status == FrameParse::Status::malformed) return Failure{"the host broke the framing: " + parse.error};
    int wait = -1;
    if (deadline) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now());
      wait = static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
    }
    pollfd readable{socket_.get(), POLLIN, 0};
    const int ready = ::poll(&readable, 1, wait);
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) return Failure{"no answer from the host in time"};
    std::uint8_t chunk[64 * 1024];
    const ssize_t count = ::recv(socket_.get(), chunk, sizeof chunk, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      hostClosed_ = true;
      return count == 0 ? Failure{"the host closed the connection"} : systemError("reading from the host failed");
    }
    reader_.append(std::span<const std::uint8_t>(chunk, static_cast<std::size_t>(count)));
  }
}

Expected<std::vector<std::uint8_t>> LinkClient::request(std::string_view channel, std::span<const std::uint8_t> payload,
                                                        std::chrono::milliseconds timeout) {
  const std::uint32_t id = nextId_++;
  if (nextId_ == 0) nextId_ = 1;  // 0 means "no reply wanted".
  if (auto sent = sendRaw(encodeMessageFrame(id, channel, payload)); !sent) return sent.error();
  const Deadline deadline = deadlineAfter(timeout);
  for (;;) {
    auto frame = readFrame(deadline);
    if (!frame) return frame.error();
    if (frame->kind == FrameKind::message) {
      pending_.push_back(HostMessage{frame->id, std::move(frame->channel), std::move(frame->payload)});
    } else if (frame->id == id) {
      return std::move(frame->payload);
    }
  }
}

Expected<ChannelReply> LinkClient::call(std::string_view channel, const MethodCall& call,
                                        std::chrono::milliseconds timeout) {
  const auto payload = request(channel, StandardCodec::encodeMethodCall(call), timeout);
  if (!payload) return payload.error();
  auto reply = StandardCodec::decodeReply(*payload);
  if (!reply) return Failure{"the host's reply does not decode: " + reply.error().reason};
  return reply;
}

Expected<LinkClient::HostMessage> LinkClient::nextMessage(std::chrono::milliseconds timeout) {
  const Deadline deadline = deadlineAfter(timeout);
  while (pending_.empty()) {
    auto frame = readFrame(deadline);
    if (!frame) return frame.error();
    if (frame->kind == FrameKind::message) {
      pending_.push_back(HostMessage{frame->id, std::move(frame->channel), std::move(frame->payload)});
    }
  }
  HostMessage message = std::move(pending_.front());
  pending_.pop_front();
  return message;
}

bool LinkClient::waitForClose(std::chrono::milliseconds timeout) {
  const Deadline deadline = deadlineAfter(timeout);
  while (readFrame(deadline)) {
  }
  return hostClosed_;
}

}  // namespace quillon
