#include "embedding/link_messenger.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/link/link_peer.h"

namespace quillon {
namespace {

using testing::LinkPeer;
using testing::pumpUntil;
using Bytes = std::vector<std::uint8_t>;

// Small enough for frames that a socket pair takes in one write.
constexpr std::size_t kIncomingBudgetOfTheTests = 64 * 1024;

class LinkMessengerTest : public ::testing::Test {
 protected:
  LinkPeer connect() {
    auto [peer, hostEnd] = LinkPeer::pair();
    messenger_.adopt(std::move(hostEnd));
    return std::move(peer);
  }

  // A handler that answers every message with its own payload, reversed.
  void installReversingHandler(const std::string& channel) {
    messenger_.setMessageHandler(channel, [this](std::span<const std::uint8_t> message, BinaryReply reply) {
      received_.emplace_back(message.begin(), message.end());
      std::move(reply)(Bytes(message.rbegin(), message.rend()));
    });
  }

  LinkMessenger messenger_{kIncomingBudgetOfTheTests};
  std::vector<Bytes> received_;
};

TEST_F(LinkMessengerTest, AMessageIsAnsweredUnderItsIdByItsChannelsHandler) {
  installReversingHandler("echo");
  LinkPeer peer = connect();
  peer.send(encodeMessageFrame(17, "echo", Bytes{1, 2, 3}));
  const auto reply = peer.receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->kind, FrameKind::reply);
  EXPECT_EQ(reply->id, 17u);
  EXPECT_EQ(reply->payload, (Bytes{3, 2, 1}));
}

TEST_F(LinkMessengerTest, AChannelWithoutHandlerAnswersTheEmptyReply) {
  installReversingHandler("echo");
  LinkPeer peer = connect();
  peer.send(encodeMessageFrame(5, "elsewhere", Bytes{1}));
  const auto reply = peer.receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->id, 5u);
  EXPECT_TRUE(reply->payload.empty());
  EXPECT_TRUE(received_.empty());
}

TEST_F(LinkMessengerTest, IdZeroRunsTheHandlerButSendsNoReply) {
  installReversingHandler("echo");
  LinkPeer peer = connect();
  peer.send(encodeMessageFrame(0, "echo", Bytes{9}));
  peer.send(encodeMessageFrame(6, "echo", Bytes{8}));
  const auto reply = peer.receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->id, 6u);
  EXPECT_EQ(received_, (std::vector<Bytes>{{9}, {8}}));
}

TEST_F(LinkMessengerTest, FramesOfOneWriteAreHandledInArrivalOrder) {
  installReversingHandler("echo");
  LinkPeer peer = connect();
  Bytes burst;
  for (std::uint8_t index = 1; index <= 5; ++index) {
    const Bytes frame = encodeMessageFrame(index, "echo", Bytes{index});
    burst.insert(burst.end(), frame.begin(), frame.end());
  }
  peer.send(burst);
  for (std::uint32_t index = 1; index <= 5; ++index) {
    const auto reply = peer.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->id, index);
  }
  EXPECT_EQ(received_, (std::vector<Bytes>{{1}, {2}, {3}, {4}, {5}}));
}

TEST_F(LinkMessengerTest, AFrameArrivingByteByByteIsHandledOnce) {
  installReversingHandler("echo");
  LinkPeer peer = connect();
  const Bytes frame = encodeMessageFrame(3, "echo", Bytes{4, 5});
  for (const std::uint8_t byte : frame) {
    peer.send(Bytes{byte});
    pumpUntil([] { return true; });
  }
  const auto reply = peer.receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->payload, (Bytes{5, 4}));
  EXPECT_EQ(received_.size(), 1u);
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

TEST_F(LinkMessengerTest, BrokenFramingClosesOnlyThatConnection) {
  installReversingHandler("echo");
  LinkPeer broken = connect();
  LinkPeer healthy = connect();
  broken.send(Bytes{5, 0, 0, 0, 7, 0, 0, 0, 0});
  EXPECT_TRUE(broken.closedByHost());
  EXPECT_EQ(messenger_.connectionCount(), 1u);
  healthy.send(encodeMessageFrame(2, "echo", Bytes{1, 2}));
  const auto reply = healthy.receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->payload, (Bytes{2, 1}));
}

TEST_F(LinkMessengerTest, TheConnectionWhoseUnfinishedFrameWouldPassTheSharedBudgetIsClosedAlone) {
  installReversingHandler("echo");
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

TEST_F(LinkMessengerTest, SendGoesToEveryConnectionWithoutAskingForAReply) {
  std::vector<LinkPeer> peers;
  for (int index = 0; index < 3; ++index) peers.push_back(connect());
  messenger_.send("app_close_channel", Bytes{7, 7});
  for (auto& peer : peers) {
    const auto message = peer.receive();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->kind, FrameKind::message);
    EXPECT_EQ(message->id, 0u);
    EXPECT_EQ(message->channel, "app_close_channel");
    EXPECT_EQ(message->payload, (Bytes{7, 7}));
  }
}

TEST_F(LinkMessengerTest, AnAnswerAfterTheClientLeftIsDropped) {
  std::optional<BinaryReply> kept;
  messenger_.setMessageHandler("slow", [&](std::span<const std::uint8_t>, BinaryReply reply) { kept.emplace(std::move(reply)); });
  {
    LinkPeer peer = connect();
    peer.send(encodeMessageFrame(1, "slow", {}));
    ASSERT_TRUE(pumpUntil([&] { return kept.has_value(); }));
  }
  ASSERT_TRUE(pumpUntil([&] { return messenger_.connectionCount() == 0; }));
  std::move (*kept)(Bytes{1});
}

TEST_F(LinkMessengerTest, AnUnansweredReplySendsTheEmptyReply) {
  messenger_.setMessageHandler("drop", [](std::span<const std::uint8_t>, BinaryReply) {});
  LinkPeer peer = connect();
  peer.send(encodeMessageFrame(8, "drop", Bytes{1}));
  const auto reply = peer.receive();
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->id, 8u);
  EXPECT_TRUE(reply->payload.empty());
}

TEST_F(LinkMessengerTest, RemovedHandlerLeavesTheChannelUnhandled) {
  installReversingHandler("echo");
  messenger_.setMessageHandler("echo", nullptr);
  LinkPeer peer = connect();
  peer.send(encodeMessageFrame(4, "echo", Bytes{1, 2}));
  const auto reply = peer.receive();
  ASSERT_TRUE(reply);
  EXPECT_TRUE(reply->payload.empty());
}

TEST_F(LinkMessengerTest, CloseAllEndsEveryConnection) {
  LinkPeer first = connect();
  LinkPeer second = connect();
  messenger_.closeAll();
  EXPECT_EQ(messenger_.connectionCount(), 0u);
  EXPECT_TRUE(first.closedByHost());
  EXPECT_TRUE(second.closedByHost());
}

}  // namespace
}  // namespace quillon
