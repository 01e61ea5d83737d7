#include "channel/reply_callback.h"

#include <gtest/gtest.h>

#include "tests/support/reply_recorder.h"

namespace quillon {
namespace {

// Answering once and refusing a second answer are OnceCallback's; what a reply
// adds is its dropped rule and its shorthands.
TEST(ReplyCallbackTest, AnswersItsCallOrNotImplementedWhenDroppedAndSaysSo) {
  testing::ReplyRecorder recorder;
  recorder.callback().error("CODE", "message");
  recorder.callback().success(ChannelValue(7));
  ::testing::internal::CaptureStderr();
  { ReplyCallback dropped = recorder.callback(); }
  const std::string logged = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(recorder.replies(), (std::vector{ChannelReply::error("CODE", "message"), ChannelReply::success(7),
                                             ChannelReply::notImplemented()}));
  EXPECT_NE(logged.find("programming error: a call was dropped unanswered"), std::string::npos) << logged;
}

}  // namespace
}  // namespace quillon
