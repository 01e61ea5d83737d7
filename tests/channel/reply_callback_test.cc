#include "channel/reply_callback.h"

#include <gtest/gtest.h>

#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

TEST(ReplyCallbackTest, AMovedCallbackAnswersOnceFromItsNewOwner) {
  testing::ReplyRecorder recorder;
  {
    ReplyCallback first = recorder.callback();
    ReplyCallback second(std::move(first));
    std::move(second).error("CODE", "message");
  }
  recorder.callback().success(ChannelValue(7));
  EXPECT_EQ(recorder.replies(), (std::vector{ChannelReply::error("CODE", "message"), ChannelReply::success(7)}));
}

TEST(ReplyCallbackTest, DroppedUnansweredAnswersNotImplementedAndSaysSo) {
  testing::ReplyRecorder recorder;
  ::testing::internal::CaptureStderr();
  { ReplyCallback dropped = recorder.callback(); }
  const std::string logged = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(recorder.only(), ChannelReply::notImplemented());
  EXPECT_NE(logged.find("programming error"), std::string::npos);
}

TEST(ReplyCallbackDeathTest, AnsweringTwiceIsRefused) {
  EXPECT_DEATH(
      {
        testing::ReplyRecorder recorder;
        ReplyCallback reply = recorder.callback();
        ReplyCallback taken(std::move(reply));
        std::move(taken).success();
        // Deliberate reuse of a spent callback.
        std::move(taken).success();  // NOLINT(bugprone-use-after-move)
      },
      "answered twice");
}

}  // namespace
}  // namespace quillon
