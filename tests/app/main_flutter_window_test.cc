#include "app/main_flutter_window.h"

#include <gtest/gtest.h>

#include "app/plugins/bitsdojo_window_plugin.h"
#include "channel/channel_names.h"
#include "tests/app/fake_shell.h"

namespace quillon {
namespace {

using testing::FakeMessenger;
using testing::FakeNativeWindow;

constexpr WindowFrame kDescribedFrame{120, 80, 1100, 720};
const MethodCall kExecutingAssemblyPath{"assembly::getExecutingAssemblyPath", {}};

// What each plug-in found in place when it was registered.
struct Registration {
  std::string name;
  bool commandChannelServed;
  int processManagersMade;
};

class MainWindowSetupTest : public ::testing::Test {
 protected:
  MainWindowSetupTest() { native_->frame = kDescribedFrame; }

  std::unique_ptr<MainFlutterWindow> makeWindow(std::span<const PluginEntry> plugins, bool withDisplay = true) {
    std::unique_ptr<NativeWindow> native;
    if (withDisplay) native = std::make_unique<FakeNativeWindow>(native_);
    return std::make_unique<MainFlutterWindow>(
        std::move(native), MainFlutterWindow::Setup{
                               std::make_unique<testing::FakeEngine>(messenger_),
                               [this] {
                                 ++processManagersMade_;
                                 return nullptr;
                               },
                               host_.servicesFactory(),
                               host_.pluginServices(),
                               plugins,
                           });
  }

  FakeMessenger messenger_;
  std::shared_ptr<FakeNativeWindow::State> native_ = std::make_shared<FakeNativeWindow::State>();
  int processManagersMade_ = 0;
  testing::FakeHostServices host_;
};

// Registrations that record what each plug-in found; what they look at is
// reached through globals because a plug-in entry is a plain function.
const FakeMessenger* observedMessenger = nullptr;
const int* observedProcessManagersMade = nullptr;
std::vector<Registration> registrations;

template <int index>
void recordRegistration(const PluginRegistrar&) {
  registrations.push_back({std::to_string(index),
                           observedMessenger->hasHandler(kNativeCommandChannel),
                           *observedProcessManagersMade});
}

TEST_F(MainWindowSetupTest, ChannelAndProcessManagerComeBeforeThePluginsWhichComeInOrderOnce) {
  static constexpr std::array kRecording{PluginEntry{"first", &recordRegistration<1>},
                                         PluginEntry{"second", &recordRegistration<2>},
                                         PluginEntry{"third", &recordRegistration<3>}};
  observedMessenger = &messenger_;
  observedProcessManagersMade = &processManagersMade_;
  registrations.clear();
  auto window = makeWindow(kRecording);
  window->awakeFromNib();

  ASSERT_EQ(registrations.size(), 3u);
  for (size_t i = 0; i < registrations.size(); ++i) {
    EXPECT_EQ(registrations[i].name, std::to_string(i + 1));
    EXPECT_TRUE(registrations[i].commandChannelServed) << i;
    EXPECT_EQ(registrations[i].processManagersMade, 1) << i;
  }
  EXPECT_EQ(window->contentViewController()->registeredPlugins(),
            (std::vector<std::string>{"first", "second", "third"}));
  EXPECT_EQ(processManagersMade_, 1);
}

TEST_F(MainWindowSetupTest, RegistersTheSixPluginsInTableOrderEachOnce) {
  auto window = makeWindow(generatedPlugins());
  window->awakeFromNib();
  EXPECT_EQ(window->contentViewController()->registeredPlugins(),
            (std::vector<std::string>{"BitsdojoWindowPlugin", "ConnectivityPlusPlugin", "FlutterSecureStoragePlugin",
                                      "FPPPackageInfoPlusPlugin", "PathProviderPlugin", "UrlLauncherPlugin"}));
  EXPECT_TRUE(messenger_.hasHandler(BitsdojoWindowPlugin::kChannel));
}

TEST_F(MainWindowSetupTest, ServesTheCommandChannelThroughTheDispatcher) {
  auto window = makeWindow({});
  window->awakeFromNib();
  EXPECT_EQ(messenger_.deliver(kNativeCommandChannel, kExecutingAssemblyPath),
            ChannelReply::success(ChannelValue(testing::FakeHostServices::kExecutable)));
  EXPECT_EQ(messenger_.deliver(kNativeCommandChannel, MethodCall{"process::unknown", {}}),
            ChannelReply::notImplemented());
  window.reset();
  EXPECT_FALSE(messenger_.hasHandler(kNativeCommandChannel));
}

TEST_F(MainWindowSetupTest, KeepsTheDescribedFrameWithACustomFrameAndStaysHidden) {
  auto window = makeWindow({});
  window->awakeFromNib();
  EXPECT_EQ(native_->frame, kDescribedFrame);
  EXPECT_EQ(native_->framesSet, std::vector<WindowFrame>{kDescribedFrame});
  EXPECT_TRUE(native_->customFrame);
  EXPECT_FALSE(native_->visible);
  EXPECT_EQ(window->bitsdojo_window_configure(), 3u);
}

TEST_F(MainWindowSetupTest, WindowPluginShowsAndHidesTheMainWindowKeepingItsFrame) {
  auto window = makeWindow(generatedPlugins());
  window->awakeFromNib();
  auto call = [this](const char* method) {
    return messenger_.deliver(BitsdojoWindowPlugin::kChannel, MethodCall{method, {}});
  };
  EXPECT_EQ(call("isWindowVisible"), ChannelReply::success(false));
  EXPECT_EQ(call("showWindow"), ChannelReply::success());
  EXPECT_TRUE(native_->visible);
  EXPECT_EQ(call("isWindowVisible"), ChannelReply::success(true));
  EXPECT_EQ(native_->frame, kDescribedFrame);
  const ChannelReply handle = call("getAppWindowHandle");
  ASSERT_TRUE(handle.isSuccess());
  EXPECT_EQ(handle.value().asInteger(), native_->number);
  EXPECT_EQ(call("hideWindow"), ChannelReply::success());
  EXPECT_FALSE(native_->visible);
  EXPECT_EQ(call("ShowWindow"), ChannelReply::notImplemented());
  EXPECT_FALSE(native_->visible);
}

TEST_F(MainWindowSetupTest, WithoutADisplayTheWindowPluginAnswersUnavailable) {
  auto window = makeWindow(generatedPlugins(), /*withDisplay=*/false);
  window->awakeFromNib();
  for (const char* method : {"showWindow", "hideWindow", "isWindowVisible", "getAppWindowHandle"}) {
    const ChannelReply reply = messenger_.deliver(BitsdojoWindowPlugin::kChannel, MethodCall{method, {}});
    ASSERT_TRUE(reply.isError()) << method;
    EXPECT_EQ(reply.error().code, "UNAVAILABLE") << method;
  }
  EXPECT_EQ(messenger_.deliver(kNativeCommandChannel, kExecutingAssemblyPath),
            ChannelReply::success(ChannelValue(testing::FakeHostServices::kExecutable)));
}

}  // namespace
}  // namespace quillon
