#include "app/app_delegate.h"

#include <gtest/gtest.h>

#include "app/application.h"
#include "app/main_flutter_window.h"
#include "channel/channel_names.h"
#include "tests/app/fake_shell.h"

namespace quillon {
namespace {

using testing::FakeMainLoop;
using testing::FakeMessenger;

// A launched application whose main window has woken on a fake engine.
class CloseHandshakeTest : public ::testing::Test {
 protected:
  CloseHandshakeTest() {
    window_.awakeFromNib();
    application_.setMainFlutterWindow(&window_);
    application_.finishLaunching();
  }

  ChannelReply interfaceCalls(const std::string& method, ChannelValue arguments = {}) {
    return messenger_.deliver(kAppCloseChannel, MethodCall{method, std::move(arguments)});
  }

  size_t closeRequestsSent() const {
    const MethodCall expected{"onAppCloseRequested", ChannelValue()};
    size_t count = 0;
    for (const FakeMessenger::Sent& sent : messenger_.sent) {
      EXPECT_EQ(sent.channel, kAppCloseChannel);
      EXPECT_EQ(sent.call, expected);
      ++count;
    }
    return count;
  }

  testing::FakeHostServices host_;
  FakeMessenger messenger_;
  FakeMainLoop loop_;
  AppDelegate delegate_;
  Application application_{delegate_, loop_};
  MainFlutterWindow window_{nullptr, MainFlutterWindow::Setup{
                                         std::make_unique<testing::FakeEngine>(messenger_),
                                         [] { return nullptr; },
                                         host_.servicesFactory(),
                                         host_.pluginServices(),
                                     }};
};

TEST_F(CloseHandshakeTest, EachTerminationRequestWhileGuardedOffersTheQuitAndKeepsRunning) {
  EXPECT_FALSE(delegate_.shouldTerminate());
  application_.terminate();
  EXPECT_EQ(closeRequestsSent(), 1u);
  application_.terminate();
  EXPECT_EQ(closeRequestsSent(), 2u);
  EXPECT_TRUE(loop_.quits.empty());
  EXPECT_FALSE(delegate_.shouldTerminate());
}

TEST_F(CloseHandshakeTest, ClosingTheLastWindowIsATerminationRequest) {
  application_.lastWindowClosed();
  EXPECT_EQ(closeRequestsSent(), 1u);
  EXPECT_TRUE(loop_.quits.empty());
}

TEST_F(CloseHandshakeTest, ForceQuitReleasesEndsTheLoopWithStatusZeroAndAnswersNull) {
  EXPECT_EQ(interfaceCalls("forceQuitApp", ChannelValue("ignored")), ChannelReply::success());
  EXPECT_TRUE(delegate_.shouldTerminate());
  EXPECT_EQ(loop_.quits, std::vector<int>{0});
  EXPECT_EQ(closeRequestsSent(), 0u);
}

TEST_F(CloseHandshakeTest, ForceQuitTwiceIsHarmless) {
  EXPECT_EQ(interfaceCalls("forceQuitApp"), ChannelReply::success());
  EXPECT_EQ(interfaceCalls("forceQuitApp"), ChannelReply::success());
  EXPECT_TRUE(delegate_.shouldTerminate());
  EXPECT_EQ(loop_.quits, (std::vector<int>{0, 0}));
}

TEST_F(CloseHandshakeTest, OnceReleasedATerminationRequestIsGrantedWithoutAMessage) {
  interfaceCalls("forceQuitApp");
  application_.terminate();
  EXPECT_EQ(loop_.quits, (std::vector<int>{0, 0}));
  EXPECT_EQ(closeRequestsSent(), 0u);
}

TEST_F(CloseHandshakeTest, OtherNamesAnswerNotImplementedAndChangeNothing) {
  for (const char* method : {"ForceQuitApp", "forcequitapp", "forceQuitApp ", " forceQuitApp", "forceQuit",
                             "onAppCloseRequested", "terminate", ""}) {
    EXPECT_EQ(interfaceCalls(method), ChannelReply::notImplemented()) << '"' << method << '"';
  }
  EXPECT_FALSE(delegate_.shouldTerminate());
  EXPECT_TRUE(loop_.quits.empty());
  application_.terminate();
  EXPECT_EQ(closeRequestsSent(), 1u);
}

TEST(AppDelegateTest, AnswersTheFixedLifecycleQuestions) {
  FakeMainLoop loop;
  AppDelegate delegate;
  Application application(delegate, loop);
  EXPECT_TRUE(delegate.applicationShouldTerminateAfterLastWindowClosed(application));
  EXPECT_TRUE(delegate.applicationSupportsSecureRestorableState(application));
}

// Without a main window, or before it has its view, there is no engine: no
// close channel, nothing sent, every request refused.
TEST(AppDelegateTest, WithoutAnEngineRequestsAreRefusedSilently) {
  testing::FakeHostServices host;
  FakeMessenger messenger;
  MainFlutterWindow unwoken{nullptr, MainFlutterWindow::Setup{std::make_unique<testing::FakeEngine>(messenger),
                                                               [] { return nullptr; },
                                                               host.servicesFactory(), host.pluginServices()}};
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
  EXPECT_TRUE(messenger.handlers.empty());
  EXPECT_TRUE(messenger.sent.empty());
}

}  // namespace
}  // namespace quillon
