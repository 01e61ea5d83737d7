// The close handshake through fakes: how a termination request is offered to
// the interface, and what the interface's answers do.
#include "app/app_delegate.h"

#include <gtest/gtest.h>

#include "app/application.h"
#include "channel/channel_names.h"
#include "tests/app/fake_shell.h"

namespace quillon {
namespace {

using testing::FakeMainLoop;
using Sent = std::vector<std::pair<std::string, std::vector<std::uint8_t>>>;

// `count` close requests: null arguments, on the close channel, wanting no reply.
Sent closeRequests(std::size_t count) {
  return Sent(count, {kAppCloseChannel, StandardCodec::encodeMethodCall({"onAppCloseRequested", {}})});
}

// A launched application whose main window has woken on a fake engine.
class CloseHandshakeTest : public ::testing::Test {
 protected:
  CloseHandshakeTest() {
    window_.awakeFromNib();
    application_.setMainFlutterWindow(&window_);
    application_.finishLaunching();
  }

  ChannelReply interfaceCalls(const std::string& method, ChannelValue arguments = {}) {
    return shell_.messenger.deliver(kAppCloseChannel, MethodCall{method, std::move(arguments)});
  }

  testing::FakeShell shell_;
  FakeMainLoop loop_;
  AppDelegate delegate_;
  Application application_{delegate_, loop_};
  MainFlutterWindow window_{nullptr, shell_.setup()};
};

// No count and no time-out: each request, the last window's closing among
// them, is offered once and refused.
TEST_F(CloseHandshakeTest, EachTerminationRequestWhileGuardedOffersTheQuitAndIsRefused) {
  application_.terminate();
  EXPECT_EQ(shell_.messenger.sent, closeRequests(1));
  application_.lastWindowClosed();
  application_.terminate();
  EXPECT_EQ(shell_.messenger.sent, closeRequests(3));
  EXPECT_TRUE(loop_.quits.empty());
  EXPECT_FALSE(delegate_.shouldTerminate());
}

// forceQuitApp (arguments ignored) releases for good: it ends the loop with
// 0, harmlessly again when sent twice, and a later request is granted unasked.
TEST_F(CloseHandshakeTest, ForceQuitReleasesForGood) {
  EXPECT_EQ(interfaceCalls("forceQuitApp", ChannelValue("ignored")), ChannelReply::success());
  EXPECT_TRUE(delegate_.shouldTerminate());
  EXPECT_EQ(loop_.quits, std::vector<int>{0});
  EXPECT_EQ(interfaceCalls("forceQuitApp"), ChannelReply::success());
  application_.terminate();
  EXPECT_EQ(loop_.quits, (std::vector<int>{0, 0, 0}));
  EXPECT_TRUE(shell_.messenger.sent.empty());
}

TEST_F(CloseHandshakeTest, OtherNamesAnswerNotImplementedAndChangeNothing) {
  for (const char* method : {"ForceQuitApp", "forcequitapp", "forceQuitApp ", " forceQuitApp", "forceQuit",
                             "onAppCloseRequested", "terminate", ""}) {
    EXPECT_EQ(interfaceCalls(method), ChannelReply::notImplemented()) << '"' << method << '"';
  }
  EXPECT_TRUE(loop_.quits.empty());
  application_.terminate();
  EXPECT_EQ(shell_.messenger.sent, closeRequests(1));
}

// Without a main window, or before it has its view, there is no engine: no
// close channel, nothing sent, every request refused.
TEST(AppDelegateTest, WithoutAnEngineRequestsAreRefusedSilently) {
  testing::FakeShell shell;
  MainFlutterWindow unwoken{nullptr, shell.setup()};
  for (MainFlutterWindow* window : {static_cast<MainFlutterWindow*>(nullptr), &unwoken}) {
    FakeMainLoop loop;
    AppDelegate delegate;
    Application application(delegate, loop);
    application.setMainFlutterWindow(window);
    application.finishLaunching();
    EXPECT_EQ(delegate.applicationShouldTerminate(application), TerminateReply::cancel);
    application.terminate();
    EXPECT_TRUE(loop.quits.empty());
  }
  EXPECT_TRUE(shell.messenger.handlers.empty());
  EXPECT_TRUE(shell.messenger.sent.empty());
}

}  // namespace
}  // namespace quillon
