// A second launch handed over on the instance channel, with the main window
// absent, hidden and shown: it comes forward only when it is shown, and a
// hidden one's launch notification is ended.
#include "app/instance_channel.h"

#include <gtest/gtest.h>

#include "tests/app/fake_shell.h"

namespace quillon {
namespace {

using testing::FakeNativeWindow;

enum class Window { none, hidden, shown };

struct RunningHost {
  explicit RunningHost(Window state) {
    native->visible = state == Window::shown;
    if (state != Window::none) window.emplace(std::make_unique<FakeNativeWindow>(native), shell.setup());
    application.setMainFlutterWindow(window ? &*window : nullptr);
  }

  ChannelReply launch(const std::string& method, ChannelValue arguments) {
    return shell.messenger.deliver(InstanceChannel::kName, MethodCall{method, std::move(arguments)});
  }

  testing::FakeShell shell;
  testing::FakeMainLoop loop;
  AppDelegate delegate;
  Application application{delegate, loop};
  std::shared_ptr<FakeNativeWindow::State> native = std::make_shared<FakeNativeWindow::State>();
  std::optional<MainFlutterWindow> window;
  std::optional<InstanceChannel> channel{std::in_place, shell.messenger, application};
};

ChannelValue startupId(ChannelValue id) {
  ChannelMap arguments;
  arguments.set("startupId", std::move(id));
  return arguments;
}

TEST(InstanceChannelTest, ActivateBringsOnlyAShownWindowForwardAndEndsAHiddenOnesLaunch) {
  for (const Window state : {Window::none, Window::hidden, Window::shown}) {
    SCOPED_TRACE(static_cast<int>(state));
    RunningHost host(state);
    const bool shown = state == Window::shown;
    EXPECT_EQ(host.launch("activate", startupId("launch-1_TIME42")), ChannelReply::success(shown));
    EXPECT_EQ(host.launch("activate", ChannelValue()), ChannelReply::success(shown));
    const std::vector<std::string> bothLaunches{"launch-1_TIME42", ""};
    EXPECT_EQ(host.native->broughtForward, shown ? bothLaunches : std::vector<std::string>{});
    EXPECT_EQ(host.native->notificationsEnded, state == Window::hidden ? bothLaunches : std::vector<std::string>{});
    EXPECT_EQ(host.native->visible, shown);
    EXPECT_TRUE(host.loop.quits.empty());
  }
}

TEST(InstanceChannelTest, WrongArgumentsAndOtherNamesChangeNothing) {
  for (const Window state : {Window::none, Window::hidden, Window::shown}) {
    RunningHost host(state);
    for (const ChannelValue& arguments :
         {ChannelValue("launch-1"), startupId(7), startupId(ChannelValue()), ChannelValue(ChannelMap())}) {
      EXPECT_EQ(host.launch("activate", arguments), ChannelReply::error("INVALID_ARGUMENT", "Expected startupId"))
          << describe(arguments);
    }
    EXPECT_TRUE(host.launch("Activate", ChannelValue()).isNotImplemented());
    EXPECT_TRUE(host.launch("showWindow", ChannelValue()).isNotImplemented());
    EXPECT_TRUE(host.native->broughtForward.empty() && host.native->notificationsEnded.empty());
    // The handler goes with the channel.
    host.channel.reset();
    EXPECT_FALSE(host.shell.messenger.hasHandler(InstanceChannel::kName));
  }
}

}  // namespace
}  // namespace quillon
