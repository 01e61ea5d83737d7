#include "embedding/link_frame.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillon {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(std::initializer_list<int> values) {
  Bytes bytes;
  for (int value : values) bytes.push_back(static_cast<std::uint8_t>(value));
  return bytes;
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

TEST(LinkFrameTest, MessageFrameLaysOutLengthKindIdNameAndPayload) {
  const Bytes payload = bytesOf({0xAA, 0xBB});
  EXPECT_EQ(encodeMessageFrame(0x01020304, "ab", payload),
            bytesOf({11, 0, 0, 0, 1, 0x04, 0x03, 0x02, 0x01, 2, 0, 'a', 'b', 0xAA, 0xBB}));
}

TEST(LinkFrameTest, ReplyFrameCarriesThePayloadOnly) {
  EXPECT_EQ(encodeReplyFrame(7, bytesOf({0})), bytesOf({6, 0, 0, 0, 2, 7, 0, 0, 0, 0}));
  EXPECT_EQ(encodeReplyFrame(7, {}), bytesOf({5, 0, 0, 0, 2, 7, 0, 0, 0}));
}

TEST(LinkFrameTest, EncodedFramesParseBack) {
  const std::vector<LinkFrame> frames = {
      {FrameKind::message, 0, "", {}},
      {FrameKind::message, 42, "quillon.app/quillon/macos", bytesOf({7, 3, 'a', 'b', 'c', 0})},
      {FrameKind::message, 0xFFFFFFFF, "ä€", Bytes(70000, 0x55)},
      {FrameKind::reply, 9, "", {}},
      {FrameKind::reply, 1, "", Bytes(300, 1)},
  };
  for (const auto& frame : frames) {
    const Bytes encoded = frame.kind == FrameKind::message ? encodeMessageFrame(frame.id, frame.channel, frame.payload)
                                                           : encodeReplyFrame(frame.id, frame.payload);
    const FrameParse parse = parseFrame(encoded);
    ASSERT_EQ(parse.status, FrameParse::Status::complete) << parse.error;
    EXPECT_EQ(parse.consumed, encoded.size());
    EXPECT_EQ(parse.frame, frame);
  }
}

TEST(LinkFrameTest, IncompleteInputWaitsForMore) {
  const Bytes frame = encodeMessageFrame(5, "chan", bytesOf({1, 2, 3}));
  for (std::size_t size = 0; size < frame.size(); ++size) {
    const FrameParse parse = parseFrame(std::span(frame).first(size));
    EXPECT_EQ(parse.status, FrameParse::Status::incomplete) << "with " << size << " bytes";
  }
}

TEST(LinkFrameTest, BrokenFramingIsRefusedWithAReason) {
  struct Case {
    const char* name;
    Bytes bytes;
    const char* reason;
  };
  const std::vector<Case> cases = {
      {"length beyond 64 MiB, before the body arrives", bytesOf({1, 0, 0, 4}), "beyond the limit"},
      {"length of all ones", bytesOf({0xFF, 0xFF, 0xFF, 0xFF, 1}), "beyond the limit"},
      {"length without room for kind and id", bytesOf({4, 0, 0, 0, 1, 0, 0, 0}), "too short"},
      {"zero length", bytesOf({0, 0, 0, 0}), "too short"},
      {"kind 0", bytesOf({5, 0, 0, 0, 0}), "unknown frame kind 0"},
      {"kind 3", bytesOf({5, 0, 0, 0, 3, 1, 0, 0, 0}), "unknown frame kind 3"},
      {"message without a name length", bytesOf({6, 0, 0, 0, 1, 1, 0, 0, 0, 9}), "without a channel name length"},
      {"name longer than the frame", bytesOf({9, 0, 0, 0, 1, 1, 0, 0, 0, 3, 0, 'a', 'b'}), "beyond the frame"},
      {"name that is not UTF-8", bytesOf({9, 0, 0, 0, 1, 1, 0, 0, 0, 2, 0, 0xC3, 0x28}), "not UTF-8"},
  };
  for (const auto& testCase : cases) {
    const FrameParse parse = parseFrame(testCase.bytes);
    EXPECT_EQ(parse.status, FrameParse::Status::malformed) << testCase.name;
    EXPECT_NE(parse.error.find(testCase.reason), std::string::npos) << testCase.name << ": " << parse.error;
  }
}

TEST(LinkFrameTest, LengthAtTheLimitIsAcceptedAndWaitsForItsBody) {
  EXPECT_EQ(parseFrame(bytesOf({0, 0, 0, 4, 2, 0, 0, 0, 0})).status, FrameParse::Status::incomplete);
}

TEST(LinkFrameTest, ReaderReassemblesFramesFromAnySplit) {
  const Bytes stream = encodeMessageFrame(1, "a", bytesOf({1})) + encodeReplyFrame(2, bytesOf({2, 2})) +
                       encodeMessageFrame(3, "bc", {});
  for (std::size_t split = 1; split <= 3; ++split) {
    FrameReader reader;
    std::vector<std::uint32_t> ids;
    for (std::size_t offset = 0; offset < stream.size(); offset += split) {
      reader.append(std::span(stream).subspan(offset, std::min(split, stream.size() - offset)));
      for (FrameParse parse = reader.next(); parse.status == FrameParse::Status::complete; parse = reader.next()) {
        ids.push_back(parse.frame.id);
      }
    }
    EXPECT_EQ(ids, (std::vector<std::uint32_t>{1, 2, 3})) << "in pieces of " << split;
    EXPECT_EQ(reader.buffered(), 0u);
  }
}

TEST(LinkFrameTest, ReaderReportsBrokenFramingAfterGoodFrames) {
  FrameReader reader;
  reader.append(encodeReplyFrame(4, {}) + bytesOf({5, 0, 0, 0, 9}));
  EXPECT_EQ(reader.next().status, FrameParse::Status::complete);
  EXPECT_EQ(reader.next().status, FrameParse::Status::malformed);
}

}  // namespace
}  // namespace quillon
