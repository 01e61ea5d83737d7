// Feeds arbitrary bytes to the link's frame reader, whole and in pieces, and
// checks that both readings agree and that every frame read encodes back to
// exactly the bytes it came from.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "embedding/link_frame.h"

namespace {

using quillon::FrameKind;
using quillon::FrameParse;

void require(bool condition) {
  if (!condition) std::abort();
}

std::vector<std::uint8_t> encode(const quillon::LinkFrame& frame) {
  return frame.kind == FrameKind::message ? quillon::encodeMessageFrame(frame.id, frame.channel, frame.payload)
                                          : quillon::encodeReplyFrame(frame.id, frame.payload);
}

// The frames of `bytes` read at once, and how the stream ended.
std::vector<quillon::LinkFrame> readWhole(std::span<const std::uint8_t> bytes, FrameParse::Status* end) {
  std::vector<quillon::LinkFrame> frames;
  for (;;) {
    FrameParse parse = quillon::parseFrame(bytes);
    if (parse.status != FrameParse::Status::complete) {
      *end = parse.status;
      return frames;
    }
    require(encode(parse.frame) == std::vector<std::uint8_t>(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(parse.consumed)));
    frames.push_back(std::move(parse.frame));
    bytes = bytes.subspan(parse.consumed);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // The first byte chooses the size of the pieces the stream arrives in.
  const std::size_t piece = 1 + data[0] % 16;
  const std::span<const std::uint8_t> stream(data + 1, size - 1);

  FrameParse::Status wholeEnd{};
  const auto whole = readWhole(stream, &wholeEnd);

  quillon::FrameReader reader;
  std::vector<quillon::LinkFrame> pieces;
  FrameParse::Status piecesEnd = FrameParse::Status::incomplete;
  for (std::size_t offset = 0; offset < stream.size() && piecesEnd != FrameParse::Status::malformed; offset += piece) {
    reader.append(stream.subspan(offset, std::min(piece, stream.size() - offset)));
    for (;;) {
      FrameParse parse = reader.next();
      if (parse.status == FrameParse::Status::complete) {
        pieces.push_back(std::move(parse.frame));
        continue;
      }
      piecesEnd = parse.status;
      break;
    }
  }
  require(pieces == whole);
  if (!stream.empty()) require(piecesEnd == wholeEnd);
  return 0;
}
