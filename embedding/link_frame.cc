#include "embedding/link_frame.h"

#include <glib.h>

#include <algorithm>
#include <limits>
#include <string_view>

namespace quillon {

namespace {

constexpr std::size_t kHeaderSize = kFrameLengthSize + 1 + 4;  // length, kind, id
constexpr std::uint32_t kShortestFrameLength = kHeaderSize - kFrameLengthSize;
constexpr std::size_t kNameLengthSize = 2;
// Larger than a read's worth: such a frame came over many reads into the room
// set aside for it.
constexpr std::size_t kLargeFrame = 64 * 1024;

void putU16(std::vector<std::uint8_t>& out, std::uint16_t value) {
  out.push_back(static_cast<std::uint8_t>(value & 0xffu));
  out.push_back(static_cast<std::uint8_t>(value >> 8));
}

void putU32(std::vector<std::uint8_t>& out, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<std::uint8_t>((value >> shift) & 0xffu));
}

std::uint16_t readU16(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

std::uint32_t readU32(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint32_t>(bytes[0]) | (static_cast<std::uint32_t>(bytes[1]) << 8) |
         (static_cast<std::uint32_t>(bytes[2]) << 16) | (static_cast<std::uint32_t>(bytes[3]) << 24);
}

std::vector<std::uint8_t> frameStart(std::size_t bodyLength, FrameKind kind, std::uint32_t id) {
  std::vector<std::uint8_t> out;
  out.reserve(kFrameLengthSize + bodyLength);
  putU32(out, static_cast<std::uint32_t>(bodyLength));
  out.push_back(static_cast<std::uint8_t>(kind));
  putU32(out, id);
  return out;
}

FrameParse malformed(std::string error) {
  FrameParse parse;
  parse.status = FrameParse::Status::malformed;
  parse.error = std::move(error);
  return parse;
}

// The frame at the front of `bytes` without its payload, and where the payload begins.
struct FrameLayout {
  FrameParse parse;
  std::size_t payloadOffset = 0;
};

FrameLayout readLayout(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kFrameLengthSize) return {};
  const std::uint32_t length = readU32(bytes);
  if (length > kMaxFrameLength) return {malformed("frame length " + std::to_string(length) + " beyond the limit")};
  if (length < kShortestFrameLength) return {malformed("frame length " + std::to_string(length) + " too short")};
  if (bytes.size() >= kFrameLengthSize + 1 && bytes[kFrameLengthSize] != static_cast<std::uint8_t>(FrameKind::message) &&
      bytes[kFrameLengthSize] != static_cast<std::uint8_t>(FrameKind::reply)) {
    return {malformed("unknown frame kind " + std::to_string(bytes[kFrameLengthSize]))};
  }
  if (bytes.size() < kFrameLengthSize + length) return {};

  const auto body = bytes.subspan(kHeaderSize, kFrameLengthSize + length - kHeaderSize);
  FrameLayout layout;
  layout.payloadOffset = kHeaderSize;
  FrameParse& parse = layout.parse;
  parse.frame.kind = static_cast<FrameKind>(bytes[kFrameLengthSize]);
  parse.frame.id = readU32(bytes.subspan(kFrameLengthSize + 1));
  if (parse.frame.kind == FrameKind::message) {
    if (body.size() < kNameLengthSize) return {malformed("message frame without a channel name length")};
    const std::size_t nameLength = readU16(body);
    if (body.size() < kNameLengthSize + nameLength) return {malformed("channel name beyond the frame")};
    const auto name = body.subspan(kNameLengthSize, nameLength);
    if (!g_utf8_validate(reinterpret_cast<const gchar*>(name.data()), static_cast<gssize>(name.size()), nullptr)) {
      return {malformed("channel name is not UTF-8")};
    }
    parse.frame.channel.assign(name.begin(), name.end());
    layout.payloadOffset += kNameLengthSize + nameLength;
  }
  parse.status = FrameParse::Status::complete;
  parse.consumed = kFrameLengthSize + length;
  return layout;
}

}  // namespace

std::vector<std::uint8_t> encodeMessageFrame(std::uint32_t id, std::string_view channel,
                                             std::span<const std::uint8_t> payload) {
  // Channel names are ours and short; a longer one is cut rather than sent
  // with a length that lies.
  const std::size_t nameLength = std::min<std::size_t>(channel.size(), std::numeric_limits<std::uint16_t>::max());
  std::vector<std::uint8_t> out = frameStart(1 + 4 + kNameLengthSize + nameLength + payload.size(), FrameKind::message, id);
  putU16(out, static_cast<std::uint16_t>(nameLength));
  out.insert(out.end(), channel.begin(), channel.begin() + static_cast<std::ptrdiff_t>(nameLength));
  out.insert(out.end(), payload.begin(), payload.end());
  return out;
}

std::vector<std::uint8_t> encodeReplyFrame(std::uint32_t id, std::span<const std::uint8_t> payload) {
  std::vector<std::uint8_t> out = frameStart(1 + 4 + payload.size(), FrameKind::reply, id);
  out.insert(out.end(), payload.begin(), payload.end());
  return out;
}

FrameParse parseFrame(std::span<const std::uint8_t> bytes) {
  auto [parse, payloadOffset] = readLayout(bytes);
  if (parse.status == FrameParse::Status::complete) {
    parse.frame.payload.assign(bytes.begin() + static_cast<std::ptrdiff_t>(payloadOffset),
                               bytes.begin() + static_cast<std::ptrdiff_t>(parse.consumed));
  }
  return parse;
}

std::size_t FrameReader::roomFor(std::span<const std::uint8_t> bytes) const {
  const std::size_t total = buffered() + bytes.size();
  std::size_t wanted = total;
  if (total >= kFrameLengthSize) {
    std::uint8_t length[kFrameLengthSize];
    for (std::size_t index = 0; index < kFrameLengthSize; ++index) {
      length[index] = index < buffered() ? buffer_[start_ + index] : bytes[index - buffered()];
    }
    // A length the framing refuses sets nothing aside: the next frame taken fails.
    const std::uint32_t declared = readU32(length);
    if (declared >= kShortestFrameLength && declared <= kMaxFrameLength) {
      wanted = std::max(wanted, kFrameLengthSize + declared);
    }
  }
  return start_ == 0 && wanted <= buffer_.capacity() ? buffer_.capacity() : wanted;
}

void FrameReader::append(std::span<const std::uint8_t> bytes) {
  const std::size_t room = roomFor(bytes);
  if (start_ != 0 || room > buffer_.capacity()) {
    // What earlier frames used goes, and the frame under way gets its whole room at once.
    std::vector<std::uint8_t> rebuilt;
    rebuilt.reserve(room);
    rebuilt.insert(rebuilt.end(), buffer_.begin() + static_cast<std::ptrdiff_t>(start_), buffer_.end());
    buffer_ = std::move(rebuilt);
    start_ = 0;
  }
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

FrameParse FrameReader::next() {
  auto [parse, payloadOffset] = readLayout(std::span<const std::uint8_t>(buffer_).subspan(start_));
  if (parse.status != FrameParse::Status::complete) return parse;
  const auto payloadBegin = buffer_.begin() + static_cast<std::ptrdiff_t>(start_ + payloadOffset);
  const auto frameEnd = buffer_.begin() + static_cast<std::ptrdiff_t>(start_ + parse.consumed);
  if (start_ == 0 && parse.consumed > kLargeFrame) {
    // The frame fills the front of the room set aside for it: hand that room
    // over as the payload rather than copy the frame.
    std::vector<std::uint8_t> rest(frameEnd, buffer_.end());
    buffer_.erase(frameEnd, buffer_.end());
    buffer_.erase(buffer_.begin(), payloadBegin);
    parse.frame.payload = std::move(buffer_);
    buffer_ = std::move(rest);
  } else {
    parse.frame.payload.assign(payloadBegin, frameEnd);
    start_ += parse.consumed;
  }
  if (start_ == buffer_.size()) {
    buffer_ = std::vector<std::uint8_t>();
    start_ = 0;
  }
  return parse;
}

bool FrameReader::frameWaiting() const {
  return readLayout(std::span<const std::uint8_t>(buffer_).subspan(start_)).parse.status !=
         FrameParse::Status::incomplete;
}

}  // namespace quillon
