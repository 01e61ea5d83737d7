#include "embedding/method_channel.h"

#include <gtest/gtest.h>

#include <map>

#include "channel/standard_codec.h"

namespace quillon {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Keeps the handlers and the messages sent, and delivers a message on request.
class FakeMessenger final : public BinaryMessenger {
 public:
  void send(std::string_view channel, Bytes message) override { sent.emplace_back(std::string(channel), std::move(message)); }
  void setMessageHandler(std::string channel, MessageHandler handler) override {
    if (handler) handlers[channel] = std::move(handler);
    else handlers.erase(channel);
  }

  // The replies given to the message, in order (an unanswered reply gives the empty one).
  std::vector<Bytes> deliver(const std::string& channel, const Bytes& message) {
    std::vector<Bytes> replies;
    handlers.at(channel)(message, BinaryReply([&replies](Bytes payload) { replies.push_back(std::move(payload)); }));
    return replies;
  }

  std::map<std::string, MessageHandler> handlers;
  std::vector<std::pair<std::string, Bytes>> sent;
};

ChannelReply decoded(const Bytes& payload) {
  std::string error;
  auto reply = StandardCodec::decodeReply(payload, &error);
  EXPECT_TRUE(reply) << error;
  return reply.value_or(ChannelReply::error("TEST", "undecodable reply"));
}

TEST(MethodChannelTest, ACallReachesTheHandlerAndItsAnswerIsEncoded) {
  FakeMessenger messenger;
  MethodChannel channel(messenger, "commands");
  std::vector<MethodCall> calls;
  channel.setMethodCallHandler([&](const MethodCall& call, ReplyCallback reply) {
    calls.push_back(call);
    std::move(reply).success(std::int32_t{42});
  });
  const MethodCall call{"assembly::getExecutingAssemblyPath", ChannelValue("x")};
  const auto replies = messenger.deliver("commands", StandardCodec::encodeMethodCall(call));
  EXPECT_EQ(calls, std::vector<MethodCall>{call});
  ASSERT_EQ(replies.size(), 1u);
  EXPECT_EQ(decoded(replies[0]), ChannelReply::success(std::int32_t{42}));
}

TEST(MethodChannelTest, APayloadThatIsNotAMethodCallIsAnsweredBadMessage) {
  FakeMessenger messenger;
  MethodChannel channel(messenger, "commands");
  bool called = false;
  channel.setMethodCallHandler([&](const MethodCall&, ReplyCallback reply) {
    called = true;
    std::move(reply).success();
  });
  for (const Bytes& payload : {Bytes{}, Bytes{3, 1, 0, 0, 0}, Bytes{7, 5, 'a'}, Bytes{0xFF}}) {
    const auto replies = messenger.deliver("commands", payload);
    ASSERT_EQ(replies.size(), 1u);
    const ChannelReply reply = decoded(replies[0]);
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().code, "BAD_MESSAGE");
    EXPECT_TRUE(reply.error().message.starts_with("The message is not a method call: ")) << reply.error().message;
    EXPECT_GT(reply.error().message.size(), std::string("The message is not a method call: ").size());
  }
  EXPECT_FALSE(called);
}

TEST(MethodChannelTest, NotImplementedIsTheEmptyReply) {
  FakeMessenger messenger;
  MethodChannel channel(messenger, "commands");
  channel.setMethodCallHandler([](const MethodCall&, ReplyCallback reply) { std::move(reply).notImplemented(); });
  const auto replies = messenger.deliver("commands", StandardCodec::encodeMethodCall({"nope", {}}));
  EXPECT_EQ(replies, std::vector<Bytes>{Bytes{}});
}

TEST(MethodChannelTest, AnEmptyHandlerUnregistersTheChannel) {
  FakeMessenger messenger;
  MethodChannel channel(messenger, "commands");
  channel.setMethodCallHandler([](const MethodCall&, ReplyCallback reply) { std::move(reply).success(); });
  channel.setMethodCallHandler(nullptr);
  EXPECT_FALSE(messenger.handlers.contains("commands"));
}

TEST(MethodChannelTest, InvokeMethodSendsAnEncodedCallOnTheChannel) {
  FakeMessenger messenger;
  MethodChannel channel(messenger, "app_close_channel");
  channel.invokeMethod("onAppCloseRequested");
  ASSERT_EQ(messenger.sent.size(), 1u);
  EXPECT_EQ(messenger.sent[0].first, "app_close_channel");
  std::string error;
  EXPECT_EQ(StandardCodec::decodeMethodCall(messenger.sent[0].second, &error),
            (MethodCall{"onAppCloseRequested", {}}));
}

}  // namespace
}  // namespace quillon
