// The interface link in this process: the frame format's exact bytes and what
// a reader holds; the budgets' choice of whom to close; the messenger over
// real socket pairs, for what the built host's tests cannot arrange (frames in
// one write and in pieces, a reply through a full socket, the budgets' exact
// counts, turns taken under a burst); a method channel's answer to what is not
// a method call; the listener's socket rules. (That frames read whole and in
// pieces agree is the fuzz target's, fuzz/fuzz_frames.cc; broken framing,
// broadcast, clients that leave, resident memory and the budget against real
// clients are tested against the built host: host_end_to_end_test.cc,
// shell_end_to_end_test.cc, the faults.)
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "channel/standard_codec.h"
#include "embedding/engine.h"
#include "embedding/link_frame.h"
#include "embedding/link_listener.h"
#include "embedding/link_messenger.h"
#include "embedding/memory_budget.h"
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

// A reader holds the room of the frame under way, set aside whole once its
// length is known, and what a read brought beyond it; a frame taken gives its
// room back at once.
TEST(LinkFrameTest, AReaderHoldsTheFrameUnderWayAndGivesItsRoomBackOnceTaken) {
  constexpr std::size_t kLarge = 1024 * 1024;
  const Bytes large = encodeReplyFrame(1, Bytes(kLarge, 7));
  const Bytes small = encodeReplyFrame(2, Bytes{8});
  const auto part = [](const Bytes& frame, std::size_t from, std::size_t to) {
    return Bytes(frame.begin() + static_cast<std::ptrdiff_t>(from), frame.begin() + static_cast<std::ptrdiff_t>(to));
  };
  const auto joined = [](Bytes front, const Bytes& back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
  };
  const std::size_t end = large.size();
  struct Case {
    const char* what;
    std::vector<Bytes> pieces;  // Appended one after the other.
    std::size_t heldBefore;     // Capacity once they are appended.
    std::size_t frames;         // Then taken.
    std::size_t heldAfter;
  };
  const std::vector<Case> cases = {
      {"the first bytes of a large frame", {part(large, 0, 3), part(large, 3, 100)}, end, 0, end},
      {"a large frame in pieces", {part(large, 0, 100), part(large, 100, end)}, end, 1, 0},
      {"a large frame, then part of the next", {part(large, 0, 100), joined(part(large, 100, end), part(small, 0, 3))},
       end + 3, 1, 3},
      {"small frames in one read", {joined(joined(small, small), small)}, 3 * small.size(), 3, 0},
      // The large frame's room is set aside with the next bytes that come for it.
      {"a small frame, then the first bytes of a large one", {joined(small, part(large, 0, 9))}, small.size() + 9, 1,
       small.size() + 9},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.what);
    FrameReader reader;
    for (const Bytes& piece : each.pieces) {
      const std::size_t room = reader.roomFor(piece);
      reader.append(piece);
      EXPECT_EQ(reader.capacity(), room);
    }
    EXPECT_EQ(reader.capacity(), each.heldBefore);
    for (std::size_t taken = 0; taken < each.frames; ++taken) {
      const FrameParse parse = reader.next();
      ASSERT_EQ(parse.status, FrameParse::Status::complete);
      EXPECT_EQ(parse.frame.payload.size(), parse.frame.id == 1 ? kLarge : 1u);
    }
    EXPECT_FALSE(reader.frameWaiting());
    EXPECT_EQ(reader.capacity(), each.heldAfter);
  }
}

// Shares of a budget of 100: who is closed when one asks for more.
TEST(MemoryBudgetTest, TheHolderOfTheLargestShareIsClosedToMakeRoom) {
  struct Case {
    const char* what;
    std::vector<std::size_t> held;  // The last one asks.
    std::size_t asked;
    bool granted;
    std::vector<bool> open;
  };
  const std::vector<Case> cases = {
      {"within the limit exactly", {40, 30, 0}, 30, true, {true, true, true}},
      {"a newcomer with a small frame", {60, 40, 0}, 1, true, {false, true, true}},
      {"the asking one would hold the most", {50, 40, 10}, 51, false, {true, true, false}},
      {"equal to the largest: the asking one goes", {50, 40, 10}, 50, false, {true, true, false}},
      {"of equal others, the oldest goes", {45, 45, 0}, 20, true, {false, true, true}},
      {"shrinking", {60, 40}, 10, true, {true, true}},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.what);
    auto budget = std::make_shared<MemoryBudget>(100);
    std::vector<std::unique_ptr<MemoryBudget::Share>> shares;
    std::vector<bool> open(each.held.size(), true);
    for (std::size_t index = 0; index < each.held.size(); ++index) {
      shares.push_back(std::make_unique<MemoryBudget::Share>(budget, [&shares, &open, index] {
        open[index] = false;
        shares[index]->resize(0);
      }));
      ASSERT_TRUE(shares.back()->resize(each.held[index]));
    }
    EXPECT_EQ(shares.back()->resize(each.asked), each.granted);
    EXPECT_EQ(open, each.open);
    EXPECT_LE(budget->used(), budget->limit());
  }
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

// What the connections hold is counted exactly: the room of frames under way
// that comes to the budget exactly is held; a byte more closes the one that
// would hold the most.
TEST(LinkBudgetTest, UnfinishedFramesUpToTheIncomingBudgetExactlyAreHeld) {
  constexpr std::size_t kLargestRoom = kIncomingBudget / 4;
  // The first bytes of a frame of `room` bytes in all.
  const auto startOfFrame = [](std::size_t room) {
    Bytes start = encodeReplyFrame(1, Bytes(64, 0));
    const auto length = static_cast<std::uint32_t>(room - kFrameLengthSize);
    for (std::size_t index = 0; index < kFrameLengthSize; ++index) start[index] = static_cast<std::uint8_t>(length >> (8 * index));
    return start;
  };
  struct Case {
    std::size_t lastRoom;
    std::size_t held;
    bool lastOpen;
  };
  for (const auto& [lastRoom, held, lastOpen] : {Case{kLargestRoom, kIncomingBudget, true},
                                                 Case{kLargestRoom + 1, 3 * kLargestRoom, false}}) {
    SCOPED_TRACE(lastRoom);
    LinkMessenger messenger;
    std::vector<LinkPeer> peers;
    for (const std::size_t room : {kLargestRoom, kLargestRoom, kLargestRoom, lastRoom}) {
      auto [peer, hostEnd] = LinkPeer::pair();
      messenger.adopt(std::move(hostEnd));
      peer.send(startOfFrame(room));
      peers.push_back(std::move(peer));
    }
    const std::size_t expectedHeld = held;
    EXPECT_TRUE(pumpUntil([&] { return messenger.incomingBytesHeld() == expectedHeld; }))
        << messenger.incomingBytesHeld();
    EXPECT_EQ(messenger.connectionCount(), lastOpen ? 4u : 3u);
    EXPECT_EQ(peers.back().closedByHost(std::chrono::milliseconds(lastOpen ? 50 : 10'000)), !lastOpen);
  }
}

// With a small outgoing budget, and host ends that take little at a time: the
// connection that leaves the most answers unread is closed, whether its own
// answer or another's needs the room.
TEST(LinkBudgetTest, TheConnectionLeavingTheMostAnswersUnreadIsClosedWhenTheOutgoingBudgetIsFull) {
  constexpr std::size_t kKiB = 1024;
  struct Case {
    const char* what;
    std::size_t slowAsks;     // Answers of 600 KiB that the slow client does not read.
    std::size_t readerAsks;   // Answers of 500 KiB that the other client reads.
    bool slowOpen;
  };
  for (const auto& [what, slowAsks, readerAsks, slowOpen] : {Case{"one answer within the budget", 1, 0, true},
                                                             Case{"its own second answer", 2, 0, false},
                                                             Case{"another's answer", 1, 1, false}}) {
    SCOPED_TRACE(what);
    LinkMessenger messenger(kIncomingBudget, kKiB * kKiB);
    messenger.setMessageHandler("answer", [](std::span<const std::uint8_t> message, BinaryReply reply) {
      std::move(reply)(Bytes(static_cast<std::size_t>(message[0]) * 100 * kKiB, 1));
    });
    const auto connect = [&messenger] {
      auto [peer, hostEnd] = LinkPeer::pair();
      const int smallest = 1;  // The kernel makes it its least.
      ::setsockopt(hostEnd.get(), SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest);
      messenger.adopt(std::move(hostEnd));
      return std::move(peer);
    };
    LinkPeer slow = connect();
    LinkPeer reader = connect();
    for (std::uint32_t id = 1; id <= slowAsks; ++id) slow.send(encodeMessageFrame(id, "answer", Bytes{6}));
    for (std::uint32_t id = 1; id <= readerAsks; ++id) {
      reader.send(encodeMessageFrame(id, "answer", Bytes{5}));
      const auto answer = reader.receive();
      ASSERT_TRUE(answer);
      EXPECT_EQ(answer->payload.size(), 500 * kKiB);
    }
    pumpUntil([] { return true; });
    EXPECT_EQ(messenger.connectionCount(), slowOpen ? 2u : 1u);
    // Nearly all of its answer waits (a socket that takes little at a time), or nothing once it is closed.
    EXPECT_EQ(messenger.outgoingBytesHeld() > 500 * kKiB, slowOpen) << messenger.outgoingBytesHeld();
  }
}

// A burst of 2,000 calls on one connection, then a call on another: the call
// waits for one turn of the burst at most.
TEST_F(LinkMessengerTest, AConnectionTakesItsTurnBesideABurstOfAnother) {
  LinkPeer busy = connect();
  LinkPeer other = connect();
  Bytes burst;
  for (std::uint32_t id = 1; id <= 2000; ++id) {
    const Bytes frame = encodeMessageFrame(id, "echo", Bytes{1});
    burst.insert(burst.end(), frame.begin(), frame.end());
  }
  busy.send(burst);
  other.send(encodeMessageFrame(1, "echo", Bytes{2}));
  const auto answer = other.receive();
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->payload, Bytes{2});
  const auto otherCall = std::find(received_.begin(), received_.end(), Bytes{2});
  ASSERT_NE(otherCall, received_.end());
  EXPECT_LE(static_cast<std::size_t>(otherCall - received_.begin()), LinkConnection::kFramesPerTurn);
  // The rest of the burst comes in the next turns, without more bytes to wake it.
  EXPECT_TRUE(pumpUntil([&] { return received_.size() == 2001; })) << received_.size();
}

// Through a method channel too: one key per connection, which is gone once the
// connection is.
TEST_F(LinkMessengerTest, EachReplyCarriesItsConnectionAsTheCallersKey) {
  std::vector<CallerKey> callers;
  MethodChannel channel(messenger_, "callers");
  channel.setMethodCallHandler([&](const MethodCall&, ReplyCallback reply) {
    callers.push_back(reply.caller());
    std::move(reply).success();
  });
  const Bytes call = encodeMessageFrame(1, "callers", StandardCodec::encodeMethodCall(MethodCall{"who", {}}));
  LinkPeer staying = connect();
  {
    LinkPeer leaving = connect();
    for (LinkPeer* peer : {&staying, &leaving, &staying}) {
      peer->send(call);
      ASSERT_TRUE(peer->receive());
    }
  }
  ASSERT_TRUE(pumpUntil([&] { return messenger_.connectionCount() == 1; }));
  ASSERT_EQ(callers.size(), 3u);
  EXPECT_EQ(callers[0], callers[2]);
  EXPECT_NE(callers[0], callers[1]);
  EXPECT_NE(callers[0], CallerKey());
  EXPECT_FALSE(callers[0].gone());
  EXPECT_TRUE(callers[1].gone());
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

// What an observer was told, in order: "channel method(arguments)" for a call,
// "-> answer" for its note, "N connected" for the count.
struct RecordingObserver final : LinkObserver {
  AnswerNote callReceived(std::string_view channel, const MethodCall& call) override {
    told.push_back(std::string(channel) + " " + call.method + "(" + describe(call.arguments) + ")");
    return [this](const ChannelReply& answer) { told.push_back("-> " + describe(answer)); };
  }
  void connectionsChanged(std::size_t count) override { told.push_back(std::to_string(count) + " connected"); }
  std::vector<std::string> told;
};

// Each call is told before its handler runs, and its answer as the caller gets
// it, whenever the handler gives it: at once, later, or never (dropped, which
// answers not-implemented).
TEST(MethodChannelTest, TellsTheObserverOfEachCallBeforeItsHandlerAndOfTheAnswerTheCallerGets) {
  testing::FakeMessenger messenger;
  RecordingObserver observer;
  messenger.linkObserver = &observer;
  MethodChannel channel(messenger, "commands");
  std::optional<ReplyCallback> kept;
  channel.setMethodCallHandler([&](const MethodCall& call, ReplyCallback reply) {
    observer.told.push_back("handled " + call.method);
    if (call.method == "error") std::move(reply).error("E", "m");
    if (call.method == "value") std::move(reply).success(42);
    if (call.method == "later") kept.emplace(std::move(reply));
  });
  struct Case {
    const char* method;
    std::vector<std::string> told;
    std::vector<ChannelReply> answered;  // as the caller gets them while the handler runs
  };
  const std::vector<Case> cases = {
      {"value", {"commands value(7)", "handled value", "-> success(42)"}, {ChannelReply::success(42)}},
      {"error", {"commands error(7)", "handled error", "-> error(E, m, null)"}, {ChannelReply::error("E", "m")}},
      {"dropped", {"commands dropped(7)", "handled dropped", "-> not-implemented"}, {ChannelReply::notImplemented()}},
      {"later", {"commands later(7)", "handled later"}, {}},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.method);
    observer.told.clear();
    EXPECT_EQ(messenger.post("commands", StandardCodec::encodeMethodCall({each.method, 7})), each.answered);
    EXPECT_EQ(observer.told, each.told);
  }
  std::move(*kept).success("done");
  EXPECT_EQ(observer.told.back(), "-> success(\"done\")");
}

// The messenger tells the count of connections as it changes, and the calls
// on channels nobody serves with their not-implemented answer; bytes that are
// no method call are not a call.
TEST(LinkMessengerObserverTest, TellsTheConnectionsAndTheCallsNobodyServes) {
  RecordingObserver observer;  // outlives the messenger, which tells it of the connections it closes
  LinkMessenger messenger;
  messenger.setObserver(&observer);
  auto [first, firstEnd] = LinkPeer::pair();
  messenger.adopt(std::move(firstEnd));
  auto [second, secondEnd] = LinkPeer::pair();
  messenger.adopt(std::move(secondEnd));
  first.send(encodeMessageFrame(1, "nobody", Bytes{0xFF}));
  first.send(encodeMessageFrame(2, "nobody", StandardCodec::encodeMethodCall({"ask", "x"})));
  ASSERT_TRUE(first.receive());
  ASSERT_TRUE(first.receive());
  second = LinkPeer(UniqueFd());
  EXPECT_TRUE(pumpUntil([&] { return messenger.connectionCount() == 1; }));
  EXPECT_EQ(observer.told, (std::vector<std::string>{"1 connected", "2 connected", "nobody ask(\"x\")",
                                                     "-> not-implemented", "1 connected"}));
}

class LinkListenerTest : public ::testing::Test {
 protected:
  std::string socketPath() const { return (root_ / "a" / "b" / "interface.sock").string(); }

  testing::ScratchDirectory scratch_;
  const fs::path root_ = scratch_.path();
};

TEST_F(LinkListenerTest, CreatesPrivateDirectoriesAndAPrivateSocket) {
  LinkListener listener(socketPath(), ::getuid());
  ASSERT_TRUE(listener.listen([](UniqueFd) {}).hasValue());
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
  ASSERT_TRUE(listener.listen([&](UniqueFd) { ++accepted; }).hasValue());
  auto peer = LinkClient::connect(socketPath());
  ASSERT_TRUE(peer.hasValue());
  EXPECT_TRUE(pumpUntil([&] { return (*peer)->waitForClose(std::chrono::milliseconds(0)); }));
  EXPECT_EQ(accepted, 0);
}

TEST_F(LinkListenerTest, AStaleSocketIsReplaced) {
  {
    LinkListener earlier(socketPath(), ::getuid());
    ASSERT_TRUE(earlier.listen([](UniqueFd) {}).hasValue());
    // Gone without cleaning up, as after a crash: keep the file, drop the listener's socket.
    fs::rename(socketPath(), socketPath() + ".kept");
  }
  fs::rename(socketPath() + ".kept", socketPath());
  LinkListener listener(socketPath(), ::getuid());
  EXPECT_TRUE(listener.listen([](UniqueFd) {}).hasValue());
  EXPECT_TRUE(LinkClient::connect(socketPath()).hasValue());
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
