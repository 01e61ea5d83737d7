// A payload that is not a method call, answered by the channel itself. (Calls
// and their answers through channels are tested with the shell's plug-ins.)
#include "embedding/method_channel.h"

#include <gtest/gtest.h>

#include "tests/support/fake_messenger.h"

namespace quillon {
namespace {

TEST(MethodChannelTest, APayloadThatIsNotAMethodCallIsAnsweredBadMessage) {
  testing::FakeMessenger messenger;
  MethodChannel channel(messenger, "commands");
  bool called = false;
  channel.setMethodCallHandler([&](const MethodCall&, ReplyCallback reply) {
    called = true;
    std::move(reply).success();
  });
  for (const testing::FakeMessenger::Bytes& payload : {testing::FakeMessenger::Bytes{}, {3, 1, 0, 0, 0}, {7, 5, 'a'}, {0xFF}}) {
    const auto replies = messenger.post("commands", payload);
    ASSERT_EQ(replies->size(), 1u);
    const ChannelReply& reply = replies->front();
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().code, "BAD_MESSAGE");
    EXPECT_TRUE(reply.error().message.starts_with("The message is not a method call: ")) << reply.error().message;
    EXPECT_GT(reply.error().message.size(), std::string("The message is not a method call: ").size());
  }
  EXPECT_FALSE(called);
  channel.setMethodCallHandler(nullptr);
  EXPECT_FALSE(messenger.hasHandler("commands"));
}

}  // namespace
}  // namespace quillon
