#include "app/main_flutter_window.h"

#include <gtest/gtest.h>

#include "channel/channel_names.h"
#include "tests/app/fake_shell.h"

namespace quillon {
namespace {

// What each plug-in found in place when it was registered. A plug-in entry is
// a plain function, so it reaches the shell through a global.
struct Registration {
  int plugin;
  bool commandChannelServed;
  int processManagersMade;
  friend bool operator==(const Registration&, const Registration&) = default;
};
const testing::FakeShell* observedShell = nullptr;
std::vector<Registration> registrations;

template <int plugin>
void recordRegistration(const PluginRegistrar&) {
  registrations.push_back({plugin, observedShell->messenger.hasHandler(kNativeCommandChannel),
                           observedShell->processManagersMade});
}

TEST(MainWindowSetupTest, TheCommandChannelAndTheProcessManagerComeBeforeThePluginsWhichComeInOrderOnce) {
  static constexpr std::array kRecording{PluginEntry{"first", &recordRegistration<1>},
                                         PluginEntry{"second", &recordRegistration<2>},
                                         PluginEntry{"third", &recordRegistration<3>}};
  testing::FakeShell shell;
  observedShell = &shell;
  auto window = std::make_unique<MainFlutterWindow>(nullptr, shell.setup(kRecording));
  window->awakeFromNib();
  EXPECT_EQ(registrations, (std::vector<Registration>{{1, true, 1}, {2, true, 1}, {3, true, 1}}));
  EXPECT_EQ(window->contentViewController()->registeredPlugins(),
            (std::vector<std::string>{"first", "second", "third"}));
  EXPECT_EQ(shell.processManagersMade, 1);
  // The catalogue's dispatcher serves the channel, for as long as the window lives.
  EXPECT_EQ(shell.messenger.deliver(kNativeCommandChannel, {"assembly::getExecutingAssemblyPath", {}}),
            ChannelReply::success(testing::FakeShell::kExecutable));
  window.reset();
  EXPECT_FALSE(shell.messenger.hasHandler(kNativeCommandChannel));
}

}  // namespace
}  // namespace quillon
