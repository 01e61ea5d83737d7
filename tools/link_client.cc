#include "tools/link_client.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

#include "channel/standard_codec.h"

namespace quillon {

namespace {

std::string systemError(const std::string& what) { return what + ": " + std::strerror(errno); }

}  // namespace

std::unique_ptr<LinkClient> LinkClient::connect(const std::string& path, std::string* error) {
  sockaddr_un address{};
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    *error = "the socket path '" + path + "' is empty or too long";
    return nullptr;
  }
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.valid()) {
    *error = systemError("cannot create a socket");
    return nullptr;
  }
  int result;
  do {
    result = ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  } while (result != 0 && errno == EINTR);
  if (result != 0) {
    *error = systemError("no host at " + path);
    return nullptr;
  }
  return std::make_unique<LinkClient>(std::move(socket));
}

LinkClient::Deadline LinkClient::deadlineAfter(std::chrono::milliseconds timeout) {
  if (timeout < std::chrono::milliseconds::zero()) return std::nullopt;
  return std::chrono::steady_clock::now() + timeout;
}

bool LinkClient::sendRaw(std::span<const std::uint8_t> bytes, std::string* error) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) {
      if (errno == EINTR) continue;
      *error = systemError("sending to the host failed");
      return false;
    }
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

std::optional<LinkFrame> LinkClient::readFrame(Deadline deadline, std::string* error) {
  for (;;) {
    FrameParse parse = reader_.next();
    if (parse.status == FrameParse::Status::complete) return std::move(parse.frame);
    if (parse.status == FrameParse::Status::malformed) {
      *error = "the host broke the framing: " + parse.error;
      return std::nullopt;
    }
    int wait = -1;
    if (deadline) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now());
      wait = static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
    }
    pollfd readable{socket_.get(), POLLIN, 0};
    const int ready = ::poll(&readable, 1, wait);
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) {
      *error = "no answer from the host in time";
      return std::nullopt;
    }
    std::uint8_t chunk[64 * 1024];
    const ssize_t count = ::recv(socket_.get(), chunk, sizeof chunk, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      hostClosed_ = true;
      *error = count == 0 ? std::string("the host closed the connection") : systemError("reading from the host failed");
      return std::nullopt;
    }
    reader_.append(std::span<const std::uint8_t>(chunk, static_cast<std::size_t>(count)));
  }
}

std::optional<std::vector<std::uint8_t>> LinkClient::request(std::string_view channel,
                                                             std::span<const std::uint8_t> payload,
                                                             std::chrono::milliseconds timeout, std::string* error) {
  const std::uint32_t id = nextId_++;
  if (nextId_ == 0) nextId_ = 1;  // 0 means "no reply wanted".
  if (!sendRaw(encodeMessageFrame(id, channel, payload), error)) return std::nullopt;
  const Deadline deadline = deadlineAfter(timeout);
  for (;;) {
    auto frame = readFrame(deadline, error);
    if (!frame) return std::nullopt;
    if (frame->kind == FrameKind::message) {
      pending_.push_back(HostMessage{frame->id, std::move(frame->channel), std::move(frame->payload)});
    } else if (frame->id == id) {
      return std::move(frame->payload);
    }
  }
}

std::optional<ChannelReply> LinkClient::call(std::string_view channel, const MethodCall& call,
                                             std::chrono::milliseconds timeout, std::string* error) {
  const auto payload = request(channel, StandardCodec::encodeMethodCall(call), timeout, error);
  if (!payload) return std::nullopt;
  std::string decodeError;
  auto reply = StandardCodec::decodeReply(*payload, &decodeError);
  if (!reply) *error = "the host's reply does not decode: " + decodeError;
  return reply;
}

std::optional<LinkClient::HostMessage> LinkClient::nextMessage(std::chrono::milliseconds timeout, std::string* error) {
  const Deadline deadline = deadlineAfter(timeout);
  while (pending_.empty()) {
    auto frame = readFrame(deadline, error);
    if (!frame) return std::nullopt;
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
  std::string error;
  while (readFrame(deadline, &error)) {
  }
  return hostClosed_;
}

}  // namespace quillon
