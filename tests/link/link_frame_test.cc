// The frame format's exact bytes. (That frames read whole and in pieces agree,
// and encode back to their bytes, is the fuzz target's: fuzz/fuzz_frames.cc;
// frames that arrive byte by byte: link_messenger_test.cc.)
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

TEST(LinkFrameTest, MessageFrameLaysOutLengthKindIdNameAndPayload) {
  const Bytes payload = bytesOf({0xAA, 0xBB});
  EXPECT_EQ(encodeMessageFrame(0x01020304, "ab", payload),
            bytesOf({11, 0, 0, 0, 1, 0x04, 0x03, 0x02, 0x01, 2, 0, 'a', 'b', 0xAA, 0xBB}));
}

TEST(LinkFrameTest, ReplyFrameCarriesThePayloadOnly) {
  EXPECT_EQ(encodeReplyFrame(7, bytesOf({0})), bytesOf({6, 0, 0, 0, 2, 7, 0, 0, 0, 0}));
  EXPECT_EQ(encodeReplyFrame(7, {}), bytesOf({5, 0, 0, 0, 2, 7, 0, 0, 0}));
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

}  // namespace
}  // namespace quillon
