// The frames of the interface link, as pure code shared by the host, its
// clients, the tests and the fuzz target.
//
// Every frame is: u32 little-endian length of the rest of the frame (at most
// kMaxFrameLength), u8 kind, u32 little-endian id; a message then carries a u16
// little-endian length and the UTF-8 channel name, then the payload; a reply
// carries the payload only. A message id of 0 asks for no reply; a reply carries
// the id of the message it answers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

inline constexpr std::uint32_t kMaxFrameLength = 64u * 1024u * 1024u;
inline constexpr std::size_t kFrameLengthSize = 4;

enum class FrameKind : std::uint8_t { message = 1, reply = 2 };

struct LinkFrame {
  FrameKind kind = FrameKind::message;
  std::uint32_t id = 0;
  std::string channel;  // Messages only.
  std::vector<std::uint8_t> payload;

  friend bool operator==(const LinkFrame&, const LinkFrame&) = default;
};

std::vector<std::uint8_t> encodeMessageFrame(std::uint32_t id, std::string_view channel,
                                             std::span<const std::uint8_t> payload);
std::vector<std::uint8_t> encodeReplyFrame(std::uint32_t id, std::span<const std::uint8_t> payload);

// The outcome of reading one frame from the front of a byte buffer.
struct FrameParse {
  enum class Status { incomplete, complete, malformed };

  Status status = Status::incomplete;
  std::size_t consumed = 0;  // Bytes of the complete frame.
  LinkFrame frame;           // When complete.
  std::string error;         // When malformed: what broke the framing.
};

// Reads the frame at the front of `bytes`. Incomplete while its bytes have not
// all arrived; malformed as soon as the bytes that have arrived break the
// framing (a length beyond the limit is refused before its body arrives).
FrameParse parseFrame(std::span<const std::uint8_t> bytes);

// Collects the bytes of a stream and hands out its frames in order.
//
// It holds as little as it can, and capacity() says how much that is (what a
// budget counts): the room of the frame under way, set aside whole and once
// when bytes come for it and its length is known (a large frame is never
// copied to grow), and what a read brought beyond it. A frame taken gives its
// room back at once, and a reader with nothing buffered holds nothing. Give it bytes only once
// next() has answered incomplete (frameWaiting() false): then roomFor() tells
// beforehand what capacity() will be after append(). (Bytes given while frames
// wait are kept all the same, only without that bound.)
class FrameReader {
 public:
  std::size_t roomFor(std::span<const std::uint8_t> bytes) const;
  void append(std::span<const std::uint8_t> bytes);
  // The next frame, or incomplete, or malformed (after which the stream is
  // beyond repair and the reader should be dropped).
  FrameParse next();
  // Whether next() would answer a frame or malformed now.
  bool frameWaiting() const;
  std::size_t buffered() const { return buffer_.size() - start_; }
  std::size_t capacity() const { return buffer_.capacity(); }

 private:
  std::vector<std::uint8_t> buffer_;
  std::size_t start_ = 0;
};

}  // namespace quillon
