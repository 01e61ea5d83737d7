// The built host without a display, driven over the link as the interface
// would drive it.
#include <gtest/gtest.h>

#include "channel/channel_names.h"
#include "tests/app/running_host.h"

namespace quillon::testing {
namespace {

constexpr int kExitedWithZero = 0;

class HeadlessHostTest : public ::testing::Test {
 protected:
  // A host and a connection that sees what the host sends. The host sends to
  // the connections it has accepted: a first round trip makes sure of ours.
  HeadlessHostTest() {
    if (interface_) callHost(*interface_, kNativeCommandChannel, "assembly::getExecutingAssemblyPath");
  }

  RunningHost host_{RunningHost::Display::none};
  std::unique_ptr<LinkClient> interface_ = host_.connect();

  // After a round trip, nothing more is pending from the host.
  void expectNoFurtherHostCalls() {
    EXPECT_TRUE(callHost(*interface_, kNativeCommandChannel, "assembly::getExecutingAssemblyPath").isSuccess());
    EXPECT_EQ(nextHostCall(*interface_, 0ms), std::nullopt);
  }
};

TEST(HeadlessHostStartTest, AnswersTheCommandChannelRightAfterStartUp) {
  RunningHost host(RunningHost::Display::none);
  const std::unique_ptr<LinkClient> interface = host.connect();
  ASSERT_TRUE(interface);
  const ChannelReply reply = callHost(*interface, kNativeCommandChannel, "assembly::getExecutingAssemblyPath");
  EXPECT_EQ(reply, ChannelReply::success(std::filesystem::canonical(QUILLON_HOST_PATH).string()));
  EXPECT_TRUE(host.running());
}

TEST_F(HeadlessHostTest, EachSystemRequestWhileGuardedOffersTheQuitOnceAndTheHostKeepsRunning) {
  ASSERT_TRUE(interface_);
  for (int signal : {SIGTERM, SIGHUP, SIGTERM}) {
    host_.signal(signal);
    EXPECT_EQ(nextHostCall(*interface_, 10s), kCloseRequest) << strsignal(signal);
    expectNoFurtherHostCalls();
    EXPECT_TRUE(host_.running());
  }
}

TEST_F(HeadlessHostTest, ForceQuitEndsTheHostWithStatusZeroAndClosesTheLink) {
  ASSERT_TRUE(interface_);
  host_.signal(SIGTERM);
  EXPECT_EQ(nextHostCall(*interface_, 10s), kCloseRequest);
  std::string error;
  const auto call = StandardCodec::encodeMethodCall(MethodCall{"forceQuitApp", {}});
  ASSERT_TRUE(interface_->sendRaw(encodeMessageFrame(1, kAppCloseChannel, call), &error)) << error;
  const std::optional<int> status = host_.waitForExit(10s);
  ASSERT_TRUE(status);
  EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == kExitedWithZero) << *status;
  EXPECT_TRUE(interface_->waitForClose(10s));
}

TEST_F(HeadlessHostTest, ForceQuitTwiceIsHarmless) {
  ASSERT_TRUE(interface_);
  const auto call = StandardCodec::encodeMethodCall(MethodCall{"forceQuitApp", {}});
  std::vector<std::uint8_t> twice = encodeMessageFrame(1, kAppCloseChannel, call);
  const std::vector<std::uint8_t> second = encodeMessageFrame(2, kAppCloseChannel, call);
  twice.insert(twice.end(), second.begin(), second.end());
  std::string error;
  ASSERT_TRUE(interface_->sendRaw(twice, &error)) << error;
  const std::optional<int> status = host_.waitForExit(10s);
  ASSERT_TRUE(status);
  EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == kExitedWithZero) << *status;
}

TEST_F(HeadlessHostTest, OtherNamesOnTheCloseChannelAnswerNotImplementedAndChangeNothing) {
  ASSERT_TRUE(interface_);
  for (const char* method : {"ForceQuitApp", "forcequitapp", "forceQuitApp ", "onAppCloseRequested", "quit", ""}) {
    EXPECT_EQ(callHost(*interface_, kAppCloseChannel, method), ChannelReply::notImplemented()) << method;
  }
  EXPECT_TRUE(host_.running());
  host_.signal(SIGTERM);
  EXPECT_EQ(nextHostCall(*interface_, 10s), kCloseRequest);
  EXPECT_TRUE(host_.running());
}

TEST_F(HeadlessHostTest, TheWindowPluginAnswersUnavailableWithoutADisplay) {
  ASSERT_TRUE(interface_);
  const ChannelReply reply = callHost(*interface_, "bitsdojo/window", "showWindow");
  ASSERT_TRUE(reply.isError());
  EXPECT_EQ(reply.error().code, "UNAVAILABLE");
}

TEST_F(HeadlessHostTest, SigintEndsTheHostAtOnce) {
  ASSERT_TRUE(interface_);
  host_.signal(SIGINT);
  const std::optional<int> status = host_.waitForExit(10s);
  ASSERT_TRUE(status);
  EXPECT_TRUE(WIFSIGNALED(*status) && WTERMSIG(*status) == SIGINT) << *status;
  EXPECT_EQ(nextHostCall(*interface_, 0ms), std::nullopt);
}

}  // namespace
}  // namespace quillon::testing
