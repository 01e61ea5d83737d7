// A second launch handed over on the instance channel: the main window comes
// forward only when it is shown, and the launch's startup notification ends
// either way.
#include "app/instance_channel.h"

#include <gtest/gtest.h>

#include "tests/app/fake_shell.h"

namespace quillon {
namespace {

using testing::FakeMessenger;
using testing::FakeNativeWindow;

enum class Window { none, hidden, shown };

class InstanceChannelTest : public ::testing::TestWithParam<Window> {
 protected:
  InstanceChannelTest() {
    native_->visible = GetParam() == Window::shown;
    std::unique_ptr<NativeWindow> native;
    if (GetParam() != Window::none) native = std::make_unique<FakeNativeWindow>(native_);
    MainFlutterWindow::Setup setup{std::make_unique<testing::FakeEngine>(messenger_), [] { return nullptr; },
                                   host_.servicesFactory(), host_.pluginServices()};
    window_ = std::make_unique<MainFlutterWindow>(std::move(native), std::move(setup));
    application_.setMainFlutterWindow(window_.get());
  }

  ChannelReply launch(const std::string& method, ChannelValue arguments) {
    return messenger_.deliver(InstanceChannel::kName, MethodCall{method, std::move(arguments)});
  }

  static ChannelValue startupId(ChannelValue id) {
    ChannelMap arguments;
    arguments.set("startupId", std::move(id));
    return arguments;
  }

  testing::FakeHostServices host_;
  FakeMessenger messenger_;
  testing::FakeMainLoop loop_;
  AppDelegate delegate_;
  Application application_{delegate_, loop_};
  std::shared_ptr<FakeNativeWindow::State> native_ = std::make_shared<FakeNativeWindow::State>();
  std::unique_ptr<MainFlutterWindow> window_;
  InstanceChannel channel_{messenger_, application_};
};

TEST_P(InstanceChannelTest, ActivateBringsOnlyAShownWindowForwardAndEndsTheLaunchEitherWay) {
  const bool shown = GetParam() == Window::shown;
  EXPECT_EQ(launch("activate", startupId("launch-1_TIME42")), ChannelReply::success(shown));
  EXPECT_EQ(launch("activate", ChannelValue()), ChannelReply::success(shown));

  const std::vector<std::string> bothLaunches{"launch-1_TIME42", ""};
  EXPECT_EQ(native_->broughtForward, shown ? bothLaunches : std::vector<std::string>{});
  EXPECT_EQ(native_->notificationsEnded, GetParam() == Window::hidden ? bothLaunches : std::vector<std::string>{});
  EXPECT_EQ(native_->visible, shown);
  EXPECT_TRUE(loop_.quits.empty());
}

TEST_P(InstanceChannelTest, WrongArgumentsAndOtherNamesChangeNothing) {
  for (const ChannelValue& arguments :
       {ChannelValue("launch-1"), startupId(7), startupId(ChannelValue()), ChannelValue(ChannelMap())}) {
    EXPECT_EQ(launch("activate", arguments), ChannelReply::error("INVALID_ARGUMENT", "Expected startupId"))
        << describe(arguments);
  }
  EXPECT_TRUE(launch("Activate", ChannelValue()).isNotImplemented());
  EXPECT_TRUE(launch("showWindow", ChannelValue()).isNotImplemented());
  EXPECT_TRUE(native_->broughtForward.empty());
  EXPECT_TRUE(native_->notificationsEnded.empty());
}

INSTANTIATE_TEST_SUITE_P(MainWindow, InstanceChannelTest,
                         ::testing::Values(Window::none, Window::hidden, Window::shown),
                         [](const ::testing::TestParamInfo<Window>& parameter) {
                           switch (parameter.param) {
                             case Window::none:
                               return "Headless";
                             case Window::hidden:
                               return "Hidden";
                             case Window::shown:
                               return "Shown";
                           }
                           return "";
                         });

TEST(InstanceChannelLifetimeTest, TheHandlerGoesWithTheChannel) {
  FakeMessenger messenger;
  testing::FakeMainLoop loop;
  AppDelegate delegate;
  Application application{delegate, loop};
  { const InstanceChannel channel(messenger, application); }
  EXPECT_FALSE(messenger.hasHandler(InstanceChannel::kName));
}

}  // namespace
}  // namespace quillon
