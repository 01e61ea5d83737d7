// The frame format's exact bytes. (That frames read whole and in pieces agree,
// and encode back to their bytes, is the fuzz target's: fuzz/fuzz_frames.cc;
// broken framing, each way, is refused by the built host: host_end_to_end_test.cc.)
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

TEST(LinkFrameTest, LengthAtTheLimitIsAcceptedAndWaitsForItsBody) {
  EXPECT_EQ(parseFrame(bytesOf({0, 0, 0, 4, 2, 0, 0, 0, 0})).status, FrameParse::Status::incomplete);
}

}  // namespace
}  // namespace quillon
