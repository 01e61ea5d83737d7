// The host at its descriptor limit, lowered from outside while it runs: the
// connections it cannot take must neither make it burn a core nor fill its
// standard error, calls on open connections go on, and it serves again once
// descriptors are free.
#include <gtest/gtest.h>
#include <time.h>

#include <thread>

#include "tests/app/host_conversation.h"
#include "tests/faults/process_readings.h"

namespace quillon::testing {
namespace {

constexpr const char* kCannotAccept = "accepting an interface connection";

class DescriptorLimitTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(served_);
    ASSERT_TRUE(callHost(*served_, kNativeCommandChannel, "assembly::getExecutingAssemblyPath").isSuccess());
    original_ = descriptorLimit(host_->pid());
  }

  // Processor time the host takes over a few seconds, as a share of one core.
  double coreShareOverAFewSeconds() {
    const long before = processorTicks(host_->pid());
    std::this_thread::sleep_for(3s);
    return static_cast<double>(processorTicks(host_->pid()) - before) / static_cast<double>(3 * ticksPerSecond());
  }

  ChannelValue processIds(LinkClient& client) {
    const ChannelReply reply = callHost(client, kNativeCommandChannel, "process::getProcessIdList");
    return reply.isSuccess() ? reply.value() : ChannelValue();
  }

  std::unique_ptr<HostProcess> host_ = startedHost({.headless = true});
  std::unique_ptr<LinkClient> served_ = connectTo(*host_);
  rlimit original_{};
};

TEST_F(DescriptorLimitTest, WaitingConnectionsAreClosedUnansweredWithOneLineAndNoSpinning) {
  // One descriptor left: for one more client.
  ASSERT_TRUE(setSoftDescriptorLimit(host_->pid(), static_cast<rlim_t>(lowestFreeDescriptor(host_->pid()) + 1)));
  auto last = connectTo(*host_);
  ASSERT_TRUE(last);
  EXPECT_TRUE(callHost(*last, kNativeCommandChannel, "assembly::getExecutingAssemblyPath").isSuccess());

  std::vector<std::unique_ptr<LinkClient>> waiting;
  for (int index = 0; index < 3; ++index) waiting.push_back(connectTo(*host_));
  EXPECT_LT(coreShareOverAFewSeconds(), 0.1);
  for (auto& client : waiting) EXPECT_TRUE(client && client->waitForClose(kAnswerTime));
  EXPECT_EQ(countOccurrences(host_->errorOutput(), kCannotAccept), 1u) << host_->errorOutput().substr(0, 2000);

  // Served connections go on; a tool run finds no descriptor for its pipe and gives its failure value.
  EXPECT_EQ(processIds(*served_), ChannelValue(ChannelList{}));
  EXPECT_EQ(callHost(*last, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
            ChannelReply::success(host_->executablePath()));

  // A client that leaves frees a descriptor for the next one.
  const std::size_t held = openDescriptors(host_->pid()).size();
  last.reset();
  ASSERT_TRUE(waitUntil([&] { return openDescriptors(host_->pid()).size() < held; }, kAnswerTime));
  auto next = connectTo(*host_);
  ASSERT_TRUE(next);
  EXPECT_EQ(callHost(*next, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
            ChannelReply::success(host_->executablePath()));

  ASSERT_TRUE(setDescriptorLimit(host_->pid(), original_));
  EXPECT_NE(processIds(*served_), ChannelValue(ChannelList{}));
  EXPECT_EQ(host_->stop(), 0);
}

TEST_F(DescriptorLimitTest, WithoutAnyDescriptorConnectionsWaitQuietlyAndAreServedOnceThereAreSome) {
  // Below every descriptor the host holds: not even its spare can be had again.
  ASSERT_TRUE(setSoftDescriptorLimit(host_->pid(), 3));
  auto waiting = connectTo(*host_);
  ASSERT_TRUE(waiting);

  EXPECT_LT(coreShareOverAFewSeconds(), 0.1);
  EXPECT_EQ(countOccurrences(host_->errorOutput(), kCannotAccept), 1u) << host_->errorOutput().substr(0, 2000);
  EXPECT_EQ(callHost(*served_, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
            ChannelReply::success(host_->executablePath()));

  ASSERT_TRUE(setDescriptorLimit(host_->pid(), original_));
  // It was kept waiting, not closed: its call is answered once the host looks again.
  std::string error;
  const auto reply = waiting->call(kNativeCommandChannel, MethodCall{"assembly::getExecutingAssemblyPath", {}},
                                   kAnswerTime, &error);
  ASSERT_TRUE(reply) << error;
  EXPECT_EQ(*reply, ChannelReply::success(host_->executablePath()));
  EXPECT_EQ(host_->stop(), 0);
}

}  // namespace
}  // namespace quillon::testing
