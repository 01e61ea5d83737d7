// The built host without a display, driven over the link as the interface
// would drive it.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "tests/app/host_conversation.h"
#include "tests/support/child_process.h"

namespace quillon::testing {
namespace {

class HeadlessHostTest : public ::testing::Test {
 protected:
  // The host sends to the connections it has accepted: a first round trip
  // makes sure of ours.
  void SetUp() override {
    ASSERT_TRUE(interface_);
    ASSERT_TRUE(callHost(*interface_, kNativeCommandChannel, "assembly::getExecutingAssemblyPath").isSuccess());
  }

  std::unique_ptr<HostProcess> host_ = startedHost({.headless = true});
  std::unique_ptr<LinkClient> interface_ = connectTo(*host_);
};

TEST(HeadlessHostStartTest, AnswersTheCommandChannelRightAfterStartUp) {
  auto host = startedHost({.headless = true});
  const auto interface = connectTo(*host);
  ASSERT_TRUE(interface);
  EXPECT_EQ(callHost(*interface, kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
            ChannelReply::success(host->executablePath()));
  EXPECT_TRUE(running(*host));
}

// A launcher that started the host and went away leaves it a standard output
// that nobody reads: the host's lines there are lost, the host is not.
TEST(HeadlessHostStartTest, PrintsToAStandardOutputWhoseReaderIsGoneAndGoesOn) {
  HostProcess host({.dataDirectory = false, .headless = true});
  const std::string output = host.directory() + "/host.out";
  ASSERT_EQ(::mkfifo(output.c_str(), 0600), 0) << std::strerror(errno);
  const int reader = ::open(output.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0) << std::strerror(errno);
  host.start();  // Returns once the host runs, its standard output open on the pipe.
  ::close(reader);
  ASSERT_TRUE(host.waitReady()) << host.errorOutput();
  const auto interface = connectTo(host);
  ASSERT_TRUE(interface);
  for (int line = 0; line < 3; ++line) {
    EXPECT_EQ(callHost(*interface, kNativeCommandChannel, "assembly::getTXBinaryExecutablePath"),
              ChannelReply::success(""));
  }
  EXPECT_TRUE(running(host));
  EXPECT_EQ(host.stop(), 0);
}

TEST_F(HeadlessHostTest, EachSystemRequestWhileGuardedOffersTheQuitOnceAndTheHostKeepsRunning) {
  for (int signal : {SIGTERM, SIGTERM, SIGHUP}) {
    host_->signal(signal);
    EXPECT_EQ(nextHostCall(*interface_, kAnswerTime), kCloseRequest) << strsignal(signal);
    expectNoFurtherHostCalls(*interface_);
    EXPECT_TRUE(running(*host_));
  }
}

TEST_F(HeadlessHostTest, ForceQuitEndsTheHostWithStatusZeroAndClosesTheLink) {
  host_->signal(SIGTERM);
  EXPECT_EQ(nextHostCall(*interface_, kAnswerTime), kCloseRequest);
  forceQuit(*interface_);
  EXPECT_EQ(host_->waitExit(kAnswerTime), 0);
  EXPECT_TRUE(interface_->waitForClose(kAnswerTime));
  EXPECT_FALSE(std::filesystem::exists(host_->socketPath()));
}

TEST_F(HeadlessHostTest, ForceQuitTwiceIsHarmless) {
  forceQuit(*interface_, 2);
  EXPECT_EQ(host_->waitExit(kAnswerTime), 0);
}

TEST_F(HeadlessHostTest, OtherNamesOnTheCloseChannelAnswerNotImplementedAndChangeNothing) {
  for (const char* method : {"ForceQuitApp", "forcequitapp", "forceQuitApp ", "onAppCloseRequested", "quit", ""}) {
    EXPECT_EQ(callHost(*interface_, kAppCloseChannel, method), ChannelReply::notImplemented()) << method;
  }
  EXPECT_TRUE(running(*host_));
  host_->signal(SIGTERM);
  EXPECT_EQ(nextHostCall(*interface_, kAnswerTime), kCloseRequest);
  EXPECT_TRUE(running(*host_));
}

TEST_F(HeadlessHostTest, TheWindowPluginAnswersUnavailableWithoutADisplay) {
  const ChannelReply reply = callHost(*interface_, "bitsdojo/window", "showWindow");
  ASSERT_TRUE(reply.isError());
  EXPECT_EQ(reply.error().code, "UNAVAILABLE");
}

TEST_F(HeadlessHostTest, SigintEndsTheHostAtOnce) {
  host_->signal(SIGINT);
  EXPECT_EQ(host_->waitExit(kAnswerTime), 128 + SIGINT);
  EXPECT_EQ(nextHostCall(*interface_, 0ms), std::nullopt);
}

// What a person at a terminal runs to complete the handshake.
TEST_F(HeadlessHostTest, QuillonCallListeningWithAnswerCloseEndsTheHostOnTheNextRequest) {
  ChildProcess listener(QUILLON_CALL_BINARY, {"--listen", "--answer-close"}, host_->clientEnvironment(),
                        host_->directory() + "/listener.out", host_->directory() + "/listener.err");
  // The listener is there once a second connection has been accepted; its own
  // round trip cannot be seen from here, so the request is repeated until the
  // host ends, each one offered to every connection.
  const bool ended = waitUntil(
      [this] {
        host_->signal(SIGTERM);
        return host_->waitExit(100ms).has_value();
      },
      kAnswerTime);
  ASSERT_TRUE(ended);
  EXPECT_EQ(host_->waitExit(0ms), 0);
  EXPECT_EQ(listener.waitExit(kAnswerTime), 0);
  EXPECT_NE(readFile(host_->directory() + "/listener.out").find(R"("method":"onAppCloseRequested")"),
            std::string::npos);
}

}  // namespace
}  // namespace quillon::testing
