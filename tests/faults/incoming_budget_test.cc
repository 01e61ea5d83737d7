// Several interface connections each sending most of a large frame and
// stopping: the host holds at most its incoming budget for them, closes the
// connections whose frames would pass it, and serves everyone else.
#include <gtest/gtest.h>

#include "embedding/incoming_budget.h"
#include "tests/app/host_conversation.h"
#include "tests/faults/process_readings.h"

namespace quillon::testing {
namespace {

constexpr std::size_t kMiB = 1024 * 1024;
constexpr std::size_t kSent = 60 * kMiB;
constexpr int kClients = 8;

TEST(IncomingBudgetTest, ConnectionsWhoseUnfinishedFramesWouldPassTheBudgetAreClosedAndTheRestServed) {
  auto host = startedHost({.headless = true});
  [[maybe_unused]] const std::size_t residentAtStart = residentBytes(host->pid());
  // A message of the largest size that wants no answer.
  const std::vector<std::uint8_t> frame =
      encodeMessageFrame(0, "quillon.test/large", std::vector<std::uint8_t>(kMaxFrameLength - 64, 0x42));
  const std::span<const std::uint8_t> start = std::span(frame).first(kSent);

  std::vector<std::unique_ptr<LinkClient>> clients;
  std::size_t kept = 0;
  for (int index = 0; index < kClients; ++index) {
    clients.push_back(connectTo(*host));
    ASSERT_TRUE(clients.back());
    std::string error;
    if (clients.back()->sendRaw(start, &error) && !clients.back()->waitForClose(200ms)) ++kept;
  }
  EXPECT_EQ(kept, kIncomingBudget / kSent);
  EXPECT_TRUE(waitUntil([&] { return countOccurrences(host->errorOutput(), "would pass 256 MiB") == kClients - kept; },
                        kAnswerTime))
      << host->errorOutput();
#ifndef __SANITIZE_ADDRESS__
  // The kept frames' bytes, and what growing their buffers left behind. (Under
  // AddressSanitizer freed memory stays in its quarantine, so only the plain
  // build can tell.)
  EXPECT_LT(residentBytes(host->pid()), residentAtStart + kIncomingBudget + 96 * kMiB);
#endif

  auto newcomer = connectTo(*host);
  ASSERT_TRUE(newcomer);
  EXPECT_EQ(callHost(*newcomer, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
            ChannelReply::success(host->executablePath()));
  // A kept connection finishes its frame; the call after it is answered only if the frame was taken whole.
  std::string error;
  ASSERT_TRUE(clients.front()->sendRaw(std::span(frame).subspan(kSent), &error)) << error;
  const auto reply = clients.front()->call(kNativeCommandChannel, MethodCall{"assembly::getExecutingAssemblyPath", {}},
                                           kAnswerTime, &error);
  EXPECT_EQ(reply, ChannelReply::success(host->executablePath())) << error;
  EXPECT_EQ(host->stop(), 0);
}

}  // namespace
}  // namespace quillon::testing
