// The interface link in this process: the frame format's exact bytes; the
// messenger over real socket pairs, for what the built host's tests cannot
// arrange (frames in one write and in pieces, a reply through a full socket, a
// small budget); a method channel's answer to what is not a method call; the
// listener's socket rules. (That frames read whole and in pieces agree is the
// fuzz target's, fuzz/fuzz_frames.cc; broken framing, broadcast, clients that
// leave and the real budget are tested against the built host:
// host_end_to_end_test.cc, shell_end_to_end_test.cc, the faults.)
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "embedding/engine.h"
#include "embedding/link_frame.h"
#include "embedding/link_listener.h"
#include "embedding/link_messenger.h"
#include "embedding/method_channel.h"
#include "tests/link/link_peer.h"
#include "tests/support/fake_messenger.h"
#include "tools/link_client.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::LinkPeer;
using testing::pumpUntil;
using Bytes = std::vector<std::uint8_t>;

// Length, kind, id, then the channel name's length and bytes for a message; the payload.
TEST(LinkFrameTest, FramesLayOutTheirFieldsAndALengthAtTheLimitWaitsForItsBody) {
  EXPECT_EQ(encodeMessageFrame(0x01020304, "ab", Bytes{0xAA, 0xBB}),
            (Bytes{11, 0, 0, 0, 1, 0x04, 0x03, 0x02, 0x01, 2, 0, 'a', 'b', 0xAA, 0xBB}));
  EXPECT_EQ(encodeReplyFrame(7, Bytes{0}), (Bytes{6, 0, 0, 0, 2, 7, 0, 0, 0, 0}));
  EXPECT_EQ(encodeReplyFrame(7, {}), (Bytes{5, 0, 0, 0, 2, 7, 0, 0, 0}));
  EXPECT_EQ(parseFrame(Bytes{0, 0, 0, 4, 2, 0, 0, 0, 0}).status, FrameParse::Status::incomplete);
}

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


class LinkListenerTest : public ::testing::Test {
 protected:
  std::string socketPath() const { return (root_ / "a" / "b" / "interface.sock").string(); }

  testing::ScratchDirectory scratch_;
  const fs::path root_ = scratch_.path();
};

TEST_F(LinkListenerTest, CreatesPrivateDirectoriesAndAPrivateSocket) {
  LinkListener listener(socketPath(), ::getuid());
  ASSERT_TRUE(listener.listen([](UniqueFd) {}));
  for (const auto& [path, mode] : {std::pair(root_ / "a", S_IFDIR | 0700), std::pair(root_ / "a" / "b", S_IFDIR | 0700),
                                   std::pair(fs::path(socketPath()), S_IFSOCK | 0600)}) {
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0) << path;
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(mode)) << path;
  }
  listener.close();
  EXPECT_FALSE(fs::exists(socketPath()));
}

TEST_F(LinkListenerTest, AConnectionOfAnotherUserIsClosedAtOnce) {
  LinkListener listener(socketPath(), ::getuid() + 1);
  int accepted = 0;
  ASSERT_TRUE(listener.listen([&](UniqueFd) { ++accepted; }));
  auto peer = LinkClient::connect(socketPath());
  ASSERT_TRUE(peer);
  EXPECT_TRUE(pumpUntil([&] { return (*peer)->waitForClose(std::chrono::milliseconds(0)); }));
  EXPECT_EQ(accepted, 0);
}

TEST_F(LinkListenerTest, AStaleSocketIsReplaced) {
  {
    LinkListener earlier(socketPath(), ::getuid());
    ASSERT_TRUE(earlier.listen([](UniqueFd) {}));
    // Gone without cleaning up, as after a crash: keep the file, drop the listener's socket.
    fs::rename(socketPath(), socketPath() + ".kept");
  }
  fs::rename(socketPath() + ".kept", socketPath());
  LinkListener listener(socketPath(), ::getuid());
  EXPECT_TRUE(listener.listen([](UniqueFd) {}));
  EXPECT_TRUE(LinkClient::connect(socketPath()));
}

TEST_F(LinkListenerTest, AFileThatIsNotASocketIsNeverRemoved) {
  fs::create_directories(root_ / "a" / "b");
  std::ofstream(socketPath()) << "keep me";
  LinkListener listener(socketPath(), ::getuid());
  EXPECT_EQ(listener.listen([](UniqueFd) {}), Failure{socketPath() + " exists and is not a socket"});
  EXPECT_FALSE(listener.anotherHostServes());
  EXPECT_TRUE(fs::is_regular_file(socketPath()));
}

// The socket path rules, read from the environment of the moment. (Each test
// runs in a process of its own: the environment changes here stay here.)
TEST(InterfaceSocketPathTest, FollowsTheSwitchThenTheRuntimeDirectoryThenTmp) {
  const std::string tmpPath = "/tmp/quillon-host-" + std::to_string(::getuid()) + "/interface.sock";
  const std::vector<std::tuple<const char*, const char*, std::string>> cases = {
      {"/x/chosen.sock", "/run/user/7", "/x/chosen.sock"},
      {nullptr, "/run/user/7", "/run/user/7/quillon-host/interface.sock"},
      {"", "/run/user/7", "/run/user/7/quillon-host/interface.sock"},
      {nullptr, nullptr, tmpPath},
      {nullptr, "", tmpPath},
  };
  const auto set = [](const char* name, const char* value) { value ? ::setenv(name, value, 1) : ::unsetenv(name); };
  for (const auto& [socketSwitch, runtimeDirectory, expected] : cases) {
    set("QUILLON_INTERFACE_SOCKET", socketSwitch);
    set("XDG_RUNTIME_DIR", runtimeDirectory);
    EXPECT_EQ(Engine::interfaceSocketPath(), expected);
  }
}

}  // namespace
}  // namespace quillon
