// The messenger over real socket pairs, for what the built host's tests cannot
// arrange: frames in one write and in pieces, a reply through a full socket, a
// small budget; and a method channel's answer to what is not a method call.
// (Broken framing, broadcast, clients that leave and the real budget are tested
// against the built host: host_end_to_end_test.cc, shell_end_to_end_test.cc,
// the faults.)
#include "embedding/link_messenger.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "embedding/method_channel.h"
#include "tests/link/link_peer.h"
#include "tests/support/fake_messenger.h"

namespace quillon {
namespace {

using testing::LinkPeer;
using testing::pumpUntil;
using Bytes = std::vector<std::uint8_t>;

// Small enough for frames that a socket pair takes in one write.
constexpr std::size_t kIncomingBudgetOfTheTests = 64 * 1024;

class LinkMessengerTest : public ::testing::Test {
 protected:
  LinkMessengerTest() {
    // Answers every message with its own payload, reversed.
    messenger_.setMessageHandler("echo", [this](std::span<const std::uint8_t> message, BinaryReply reply) {
      received_.emplace_back(message.begin(), message.end());
      std::move(reply)(Bytes(message.rbegin(), message.rend()));
    });
  }

  LinkPeer connect() {
    auto [peer, hostEnd] = LinkPeer::pair();
    messenger_.adopt(std::move(hostEnd));
    return std::move(peer);
  }

  LinkMessenger messenger_{kIncomingBudgetOfTheTests};
  std::vector<Bytes> received_;
};

// Frames of one write, handled in arrival order: each message with an id is
// answered under it; id 0 runs the handler without a reply; a channel without
// a handler, or a handler that drops its reply, gets the empty reply.
TEST_F(LinkMessengerTest, MessagesAreHandledInArrivalOrderAndAnsweredUnderTheirIds) {
  messenger_.setMessageHandler("drop", [](std::span<const std::uint8_t>, BinaryReply) {});
  LinkPeer peer = connect();
  Bytes burst;
  for (const Bytes& frame : {encodeMessageFrame(17, "echo", Bytes{1, 2, 3}), encodeMessageFrame(0, "echo", Bytes{9}),
                             encodeMessageFrame(5, "elsewhere", Bytes{1}), encodeMessageFrame(8, "drop", Bytes{1}),
                             encodeMessageFrame(6, "echo", Bytes{8})}) {
    burst.insert(burst.end(), frame.begin(), frame.end());
  }
  peer.send(burst);
  for (const auto& [id, payload] : std::vector<std::pair<std::uint32_t, Bytes>>{{17, {3, 2, 1}}, {5, {}}, {8, {}}, {6, {8}}}) {
    const auto reply = peer.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->kind, FrameKind::reply);
    EXPECT_EQ(reply->id, id);
    EXPECT_EQ(reply->payload, payload);
  }
  EXPECT_EQ(received_, (std::vector<Bytes>{{1, 2, 3}, {9}, {8}}));
}

TEST_F(LinkMessengerTest, AReplyLargerThanTheSocketBufferArrivesWhole) {
  const Bytes large(8 * 1024 * 1024, 0x5A);
  messenger_.setMessageHandler("large", [&](std::span<const std::uint8_t>, BinaryReply reply) { std::move(reply)(large); });
  LinkPeer peer = connect();
  peer.send(encodeMessageFrame(1, "large", {}));
  const auto reply = peer.receive(std::chrono::seconds(30));
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->payload, large);
}

TEST_F(LinkMessengerTest, TheConnectionWhoseUnfinishedFrameWouldPassTheSharedBudgetIsClosedAlone) {
  const Bytes frame = encodeMessageFrame(1, "echo", Bytes(48 * 1024, 7));
  const auto start = std::span(frame).first(40 * 1024);
  LinkPeer first = connect();
  LinkPeer second = connect();
  first.send(start);
  ASSERT_TRUE(pumpUntil([&] { return messenger_.incomingBytesHeld() == start.size(); }));
  second.send(start);
  EXPECT_TRUE(second.closedByHost());
  EXPECT_EQ(messenger_.connectionCount(), 1u);
  EXPECT_EQ(messenger_.incomingBytesHeld(), start.size());

  first.send(std::span(frame).subspan(start.size()));
  const auto reply = first.receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->payload.size(), 48u * 1024u);
  EXPECT_EQ(messenger_.incomingBytesHeld(), 0u);
  // What the finished frame held is free again for the others.
  LinkPeer third = connect();
  third.send(start);
  ASSERT_TRUE(pumpUntil([&] { return messenger_.incomingBytesHeld() == start.size(); }));
  EXPECT_FALSE(third.closedByHost(std::chrono::milliseconds(50)));
}

TEST(MethodChannelTest, APayloadThatIsNotAMethodCallIsAnsweredBadMessage) {
  testing::FakeMessenger messenger;
  MethodChannel channel(messenger, "commands");
  bool called = false;
  channel.setMethodCallHandler([&](const MethodCall&, ReplyCallback reply) {
    called = true;
    std::move(reply).success();
  });
  for (const Bytes& payload : {Bytes{}, Bytes{3, 1, 0, 0, 0}, Bytes{7, 5, 'a'}, Bytes{0xFF}}) {
    const auto replies = messenger.post("commands", payload);
    ASSERT_EQ(replies.size(), 1u);
    ASSERT_TRUE(replies[0].isError());
    EXPECT_EQ(replies[0].error().code, "BAD_MESSAGE");
    const std::string& message = replies[0].error().message;
    EXPECT_TRUE(message.starts_with("The message is not a method call: ") && message.size() > 34) << message;
  }
  EXPECT_FALSE(called);
  channel.setMethodCallHandler(nullptr);
  EXPECT_FALSE(messenger.hasHandler("commands"));
}

}  // namespace
}  // namespace quillon
