#include "tools/link_client.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "channel/standard_codec.h"

namespace quillon {

namespace {

// How long apart connect() tries again while the host's queue is full.
constexpr int kRetryPauseMilliseconds = 10;

Failure systemError(const std::string& what) { return Failure{what + ": " + std::strerror(errno)}; }

// "10 s", or "250 ms" for a time that is no whole number of seconds.
std::string lengthText(std::chrono::milliseconds length) {
  if (length.count() % 1000 == 0) return std::to_string(length.count() / 1000) + " s";
  return std::to_string(length.count()) + " ms";
}

}  // namespace

LinkClient::Deadline::Deadline(std::chrono::milliseconds timeout) : length(timeout) {
  if (timeout >= std::chrono::milliseconds::zero()) end = std::chrono::steady_clock::now() + timeout;
}

int LinkClient::Deadline::pollTime() const {
  if (!end) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - std::chrono::steady_clock::now());
  return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, INT_MAX));
}

// A Unix socket's connect never goes on in the background: the connection is
// accepted or queued at once, or, while the listener's queue is full, refused
// with EAGAIN. So it is tried again, a little apart, until the deadline.
Expected<std::unique_ptr<LinkClient>, LinkClient::ConnectFailure> LinkClient::connect(
    const std::string& path, std::chrono::milliseconds timeout) {
  const auto noHost = [](std::string reason) {
    return ConnectFailure{ConnectFailure::Kind::noHost, std::move(reason)};
  };
  sockaddr_un address{};
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    return noHost("the socket path '" + path + "' is empty or too long");
  }
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket.valid()) return noHost(systemError("cannot create a socket").reason);
  const Deadline deadline(timeout);
  while (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return noHost(systemError("no host at " + path).reason);
    const int left = deadline.pollTime();
    if (left == 0) return noHost("the host at " + path + " did not take the connection within " + lengthText(timeout));
    ::poll(nullptr, 0, left < 0 ? kRetryPauseMilliseconds : std::min(left, kRetryPauseMilliseconds));
  }
  // The listener's credentials, as they were when it began to listen.
  ucred listener{};
  socklen_t size = sizeof listener;
  if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &listener, &size) != 0) {
    return noHost(systemError("cannot tell who listens at " + path).reason);
  }
  if (listener.uid != ::getuid()) {
    return ConnectFailure{ConnectFailure::Kind::anotherUser, path + " is served by a program of user " +
                                                                 std::to_string(listener.uid) + ", not of this user (" +
                                                                 std::to_string(::getuid()) + ")"};
  }
  return std::make_unique<LinkClient>(std::move(socket));
}

Expected<void> LinkClient::sendRaw(std::span<const std::uint8_t> bytes) { return send(bytes, Deadline(kForever)); }

Expected<void> LinkClient::send(std::span<const std::uint8_t> bytes, const Deadline& deadline) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(count));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return systemError("sending to the host failed");
    pollfd writable{socket_.get(), POLLOUT, 0};
    if (::poll(&writable, 1, deadline.pollTime()) == 0) {
      return Failure{"the host did not take the message within " + lengthText(deadline.length)};
    }
  }
  return {};
}

Expected<LinkFrame> LinkClient::readFrame(const Deadline& deadline) {
  for (;;) {
    FrameParse parse = reader_.next();
    if (parse.status == FrameParse::Status::complete) return std::move(parse.frame);
    if (parse.status == FrameParse::Status::malformed) return Failure{"the host broke the framing: " + parse.error};
    pollfd readable{socket_.get(), POLLIN, 0};
    const int ready = ::poll(&readable, 1, deadline.pollTime());
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) return Failure{"no answer from the host within " + lengthText(deadline.length)};
    std::uint8_t chunk[64 * 1024];
    const ssize_t count = ::recv(socket_.get(), chunk, sizeof chunk, 0);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
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
  const Deadline deadline(timeout);
  if (auto sent = send(encodeMessageFrame(id, channel, payload), deadline); !sent.hasValue()) return sent.error();
  for (;;) {
    auto frame = readFrame(deadline);
    if (!frame.hasValue()) return frame.error();
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
  if (!payload.hasValue()) return payload.error();
  auto reply = StandardCodec::decodeReply(*payload);
  if (!reply.hasValue()) return Failure{"the host's reply does not decode: " + reply.error().reason};
  return reply;
}

Expected<LinkClient::HostMessage> LinkClient::nextMessage(std::chrono::milliseconds timeout) {
  const Deadline deadline(timeout);
  while (pending_.empty()) {
    auto frame = readFrame(deadline);
    if (!frame.hasValue()) return frame.error();
    if (frame->kind == FrameKind::message) {
      pending_.push_back(HostMessage{frame->id, std::move(frame->channel), std::move(frame->payload)});
    }
  }
  HostMessage message = std::move(pending_.front());
  pending_.pop_front();
  return message;
}

bool LinkClient::waitForClose(std::chrono::milliseconds timeout) {
  const Deadline deadline(timeout);
  while (readFrame(deadline).hasValue()) {
  }
  return hostClosed_;
}

}  // namespace quillon
