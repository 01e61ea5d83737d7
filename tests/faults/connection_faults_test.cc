// Faults that come over the interface link, against the built host: its
// descriptor limit lowered from outside while it runs, clients that send most
// of a large frame and stop, clients that vanish at the worst moments. The host
// neither burns a core nor fills its standard error, keeps no descriptor and
// no more memory than its budget for them, and serves everyone else.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <set>

#include "embedding/memory_budget.h"
#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

constexpr const char* kCannotAccept = "accepting an interface connection";

std::vector<std::uint8_t> callFrame(std::uint32_t id, const std::string& method) {
  return encodeMessageFrame(id, kNativeCommandChannel, StandardCodec::encodeMethodCall(MethodCall{method, {}}));
}

std::size_t countOccurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

// A headless host, one connection it serves throughout, and what /proc tells
// about the host.
class ConnectionFaultTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(served_);
    expectServed(*served_);
    ::prlimit(host_->pid(), RLIMIT_NOFILE, nullptr, &original_);
  }

  // Whatever the fault, the host ends as asked.
  void TearDown() override { EXPECT_EQ(host_->stop(), 0) << host_->errorOutput().substr(0, 2000); }

  // A call that runs no tool is answered on `client`.
  void expectServed(LinkClient& client) {
    EXPECT_EQ(callHost(client, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
              ChannelReply::success(host_->executablePath()));
  }

  // A call that runs /bin/ps: [] when the tool run fails.
  ChannelReply processIds() { return callHost(*served_, kNativeCommandChannel, "process::getProcessIdList"); }

  bool limitDescriptors(rlim_t soft) {
    rlimit limit = original_;
    limit.rlim_cur = soft;
    return ::prlimit(host_->pid(), RLIMIT_NOFILE, &limit, nullptr) == 0;
  }

  std::string proc(const char* file) { return readFile("/proc/" + std::to_string(host_->pid()) + "/" + file); }

  std::set<int> openDescriptors() {
    std::set<int> numbers;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(host_->pid()) + "/fd")) {
      numbers.insert(std::stoi(entry.path().filename().string()));
    }
    return numbers;
  }

  std::size_t residentBytes() {
    std::size_t pages = 0;
    std::sscanf(proc("statm").c_str(), "%*s %zu", &pages);
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  }

  // The most the host has held resident at once, since it started.
  std::size_t peakResidentBytes() {
    const std::string status = proc("status");
    std::size_t kilobytes = 0;
    std::sscanf(status.c_str() + status.find("VmHWM:"), "VmHWM: %zu kB", &kilobytes);
    return kilobytes * 1024;
  }

  // Processor time (user and system) as a share of one core over three seconds.
  double coreShare() {
    const auto ticks = [this] {
      // The command name may hold blanks: the fields are read from after it.
      const std::string stat = proc("stat");
      unsigned long user = 0, system = 0;
      std::sscanf(stat.c_str() + stat.rfind(')') + 2, "%*c %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %lu %lu", &user,
                  &system);
      return static_cast<double>(user + system);
    };
    const double before = ticks();
    std::this_thread::sleep_for(3s);
    return (ticks() - before) / static_cast<double>(3 * ::sysconf(_SC_CLK_TCK));
  }

  std::unique_ptr<HostProcess> host_ = startedHost({.headless = true});
  std::unique_ptr<LinkClient> served_ = connectTo(*host_);
  rlimit original_{};
};

TEST_F(ConnectionFaultTest, AtTheDescriptorLimitWaitingConnectionsAreClosedUnansweredWithOneLineAndNoSpinning) {
  // A tool run before the limit: UndefinedBehaviorSanitizer checks the first
  // object of each type (the jobs on the workers among them) through a pipe of
  // its own, which the limit would refuse, and then reports a false error.
  EXPECT_FALSE(processIds().value().get<ChannelList>().empty());
  // One descriptor left: for one more client.
  int lowestFree = 0;
  for (const std::set<int> taken = openDescriptors(); taken.contains(lowestFree);) ++lowestFree;
  ASSERT_TRUE(limitDescriptors(static_cast<rlim_t>(lowestFree + 1)));
  auto last = connectTo(*host_);
  ASSERT_TRUE(last);
  expectServed(*last);

  std::vector<std::unique_ptr<LinkClient>> waiting;
  for (int index = 0; index < 3; ++index) waiting.push_back(connectTo(*host_));
  EXPECT_LT(coreShare(), 0.1);
  for (auto& client : waiting) EXPECT_TRUE(client && client->waitForClose(kAnswerTime));
  EXPECT_EQ(countOccurrences(host_->errorOutput(), kCannotAccept), 1u) << host_->errorOutput().substr(0, 2000);

  // Served connections go on; a tool run finds no descriptor for its pipe and gives its failure value.
  EXPECT_EQ(processIds(), ChannelReply::success(ChannelList{}));
  expectServed(*last);

  // A client that leaves frees a descriptor for the next one.
  const std::size_t held = openDescriptors().size();
  last.reset();
  ASSERT_TRUE(waitUntil([&] { return openDescriptors().size() < held; }, kAnswerTime));
  auto next = connectTo(*host_);
  ASSERT_TRUE(next);
  expectServed(*next);

  ASSERT_TRUE(limitDescriptors(original_.rlim_cur));
  EXPECT_FALSE(processIds().value().get<ChannelList>().empty());
}

TEST_F(ConnectionFaultTest, WithoutAnyDescriptorConnectionsWaitQuietlyAndAreServedOnceThereAreSome) {
  // Below every descriptor the host holds: not even its spare can be had again.
  ASSERT_TRUE(limitDescriptors(3));
  auto waiting = connectTo(*host_);
  ASSERT_TRUE(waiting);
  EXPECT_LT(coreShare(), 0.1);
  EXPECT_EQ(countOccurrences(host_->errorOutput(), kCannotAccept), 1u) << host_->errorOutput().substr(0, 2000);
  expectServed(*served_);

  // It was kept waiting, not closed: its call is answered once the host looks again.
  ASSERT_TRUE(limitDescriptors(original_.rlim_cur));
  expectServed(*waiting);
}

constexpr std::size_t kMiB = 1024 * 1024;

// A message of the largest size that wants no answer.
std::vector<std::uint8_t> largestMessage() {
  return encodeMessageFrame(0, "quillon.test/large", std::vector<std::uint8_t>(kMaxFrameLength - 64, 0x42));
}

// Each frame's room is given back once it is taken: connections that each
// sent one frame of the largest size hold nothing of it.
TEST_F(ConnectionFaultTest, SixteenConnectionsAfterALargeFrameEachHoldNothingOfIt) {
  [[maybe_unused]] const std::size_t residentAtStart = residentBytes();
  const std::vector<std::uint8_t> frame = largestMessage();
  std::vector<std::unique_ptr<LinkClient>> clients;
  for (int index = 0; index < 16; ++index) {
    clients.push_back(connectTo(*host_));
    ASSERT_TRUE(clients.back());
    const auto sent = clients.back()->sendRaw(frame);
    ASSERT_TRUE(sent.hasValue()) << sent.error().reason;
    // Answered after the frame: the frame was taken.
    expectServed(*clients.back());
  }
#ifndef __SANITIZE_ADDRESS__
  // Under AddressSanitizer freed memory stays in its quarantine: only the plain build can tell.
  EXPECT_LT(peakResidentBytes(), residentAtStart + kIncomingBudget) << residentAtStart;
  EXPECT_LT(residentBytes(), residentAtStart + 16 * kMiB) << residentAtStart;
#endif
}

// Four connections whose unfinished frames hold the whole budget, the second
// the most: a newcomer's small call is served, and the second is closed.
TEST_F(ConnectionFaultTest, TheFullBudgetClosesTheLargestHolderAndServesTheNewcomer) {
  // 256 MiB in all; the second is a frame of the largest size.
  const std::vector<std::size_t> rooms = {64 * kMiB - 2, 64 * kMiB + 4, 64 * kMiB - 1, 64 * kMiB - 1};
  std::vector<std::unique_ptr<LinkClient>> holders;
  for (const std::size_t room : rooms) {
    holders.push_back(connectTo(*host_));
    ASSERT_TRUE(holders.back());
    // The start of a frame of `room` bytes in all.
    std::vector<std::uint8_t> start = encodeReplyFrame(1, std::vector<std::uint8_t>(64, 0));
    const auto length = static_cast<std::uint32_t>(room - kFrameLengthSize);
    for (std::size_t index = 0; index < kFrameLengthSize; ++index) start[index] = static_cast<std::uint8_t>(length >> (8 * index));
    ASSERT_TRUE(holders.back()->sendRaw(start).hasValue());
  }
  expectServed(*served_);  // Every start has been read: the budget is full.
  auto newcomer = connectTo(*host_);
  ASSERT_TRUE(newcomer);
  expectServed(*newcomer);
  for (std::size_t index = 0; index < holders.size(); ++index) {
    EXPECT_EQ(holders[index]->waitForClose(index == 1 ? kAnswerTime : 100ms), index == 1) << index;
  }
  EXPECT_EQ(countOccurrences(host_->errorOutput(),
                             "unfinished frames of all interface connections would pass 256 MiB, and this one held the "
                             "most"),
            1u)
      << host_->errorOutput();
}

TEST_F(ConnectionFaultTest, ConnectionsWhoseUnfinishedFramesWouldPassTheBudgetAreClosedAndTheRestServed) {
  constexpr std::size_t kSent = 60 * kMiB;
  constexpr std::size_t kClients = 8;
  [[maybe_unused]] const std::size_t residentAtStart = residentBytes();
  const std::vector<std::uint8_t> frame = largestMessage();
  std::vector<std::unique_ptr<LinkClient>> clients;
  std::size_t kept = 0;
  for (std::size_t index = 0; index < kClients; ++index) {
    clients.push_back(connectTo(*host_));
    ASSERT_TRUE(clients.back());
    if (clients.back()->sendRaw(std::span(frame).first(kSent)).hasValue() && !clients.back()->waitForClose(200ms)) {
      ++kept;
    }
  }
  EXPECT_EQ(kept, kIncomingBudget / kSent);
  EXPECT_TRUE(waitUntil([&] { return countOccurrences(host_->errorOutput(), "would pass 256 MiB") == kClients - kept; },
                        kAnswerTime))
      << host_->errorOutput();
#ifndef __SANITIZE_ADDRESS__
  // The kept frames' bytes; each frame's room was set aside at once, never grown by copying.
  EXPECT_LT(peakResidentBytes(), residentAtStart + kIncomingBudget) << residentAtStart;
#endif
  auto newcomer = connectTo(*host_);
  ASSERT_TRUE(newcomer);
  expectServed(*newcomer);
  // A kept connection finishes its frame; the call after it is answered only if the frame was taken whole.
  const auto sent = clients.front()->sendRaw(std::span(frame).subspan(kSent));
  ASSERT_TRUE(sent.hasValue()) << sent.error().reason;
  expectServed(*clients.front());
}

// Each connection is dropped with a line; a few a second are written, the rest counted.
TEST_F(ConnectionFaultTest, AFloodOfBrokenConnectionsWritesAFewLinesASecondAndCountsTheRest) {
  const std::vector<std::uint8_t> broken{0xFF, 0xFF, 0xFF, 0xFF, 0x01};
  std::size_t connections = 0;
  for (const auto end = std::chrono::steady_clock::now() + 3s; std::chrono::steady_clock::now() < end;) {
    auto client = LinkClient::connect(host_->socketPath());
    if (client.hasValue() && (*client)->sendRaw(broken).hasValue()) ++connections;
  }
  expectServed(*served_);
  const std::string errors = host_->errorOutput();
  EXPECT_GT(connections, 1000u);
  EXPECT_LT(countOccurrences(errors, "\n"), 200u) << errors.substr(0, 2000);
  EXPECT_NE(errors.find("quillon-host: suppressed "), std::string::npos) << errors.substr(0, 2000);
  EXPECT_NE(errors.find(" more lines about dropped interface connections\n"), std::string::npos);
}

TEST_F(ConnectionFaultTest, TheHostDropsClientsThatVanishAndServesTheOthers) {
  const std::size_t descriptors = openDescriptors().size();
  std::vector<std::uint8_t> manyCalls;
  for (std::uint32_t id = 1; id <= 100'000; ++id) {
    const auto frame = callFrame(id, "assembly::getExecutingAssemblyPath");
    manyCalls.insert(manyCalls.end(), frame.begin(), frame.end());
  }
  const auto toolRun = callFrame(1, "process::getProcessIdList");
  const std::map<std::string, std::span<const std::uint8_t>> lastWords{
      {"mid-frame", std::span(toolRun).first(toolRun.size() / 2)},
      {"before the answer to a tool run", toolRun},
      {"with megabytes of answers unread", manyCalls},
  };
  for (const auto& [moment, bytes] : lastWords) {
    SCOPED_TRACE(moment);
    auto vanishing = connectTo(*host_);
    ASSERT_TRUE(vanishing);
    const auto sent = vanishing->sendRaw(bytes);
    EXPECT_TRUE(sent.hasValue()) << sent.error().reason;
    vanishing.reset();
    expectServed(*served_);
    EXPECT_TRUE(waitUntil([&] { return openDescriptors().size() == descriptors; }, kAnswerTime));
  }
}

}  // namespace
}  // namespace quillon::testing
