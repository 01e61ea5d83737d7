// The shell through fakes: the close handshake (the view's close button
// among the requests), the main window's set-up, the hand-over of a second
// launch, the window shown without an interface and the secrets the list of
// latest calls hides.
#include <gtest/gtest.h>

#include <variant>

#include "app/app_delegate.h"
#include "app/application.h"
#include "app/instance_channel.h"
#include "app/main_flutter_window.h"
#include "app/plugins/bitsdojo_window_plugin.h"
#include "app/plugins/flutter_secure_storage_plugin.h"
#include "app/plugins/url_launcher_plugin.h"
#include "app/secret_arguments.h"
#include "app/view_engine.h"
#include "bundle/assembly_data.h"
#include "channel/channel_names.h"
#include "tests/bundle/fake_bundle.h"
#include "tests/identity/fake_identity_platform.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/fake_messenger.h"
#include "tests/support/fake_window_list.h"
#include "tests/support/inline_background_work.h"
#include "tests/support/reply_recorder.h"
#include "window/window_services.h"

namespace quillon {
namespace {

using testing::FakeMessenger;

// What the main window was asked: the startup ids of the launches it came
// forward for, and of those it ended the notification of.
struct WindowState {
  bool visible = false;
  std::vector<std::string> broughtForward, notificationsEnded;
};

struct FakeNativeWindow final : NativeWindow {
  explicit FakeNativeWindow(WindowState& kept) : state(kept) {}
  std::int64_t number() const override { return 0x2a00003; }
  WindowFrame frame() const override { return {}; }
  void setFrame(const WindowFrame&) override {}
  void useCustomFrame() override {}
  void show() override { state.visible = true; }
  void hide() override { state.visible = false; }
  bool isVisible() const override { return state.visible; }
  void bringForward(const std::string& startupId) override { state.broughtForward.push_back(startupId); }
  void endStartupNotification(const std::string& id) override { state.notificationsEnded.push_back(id); }
  WindowState& state;
};

struct FakeMainLoop final : MainLoop {
  int run() override { return quits.empty() ? -1 : quits.front(); }
  void quit(int status) override { quits.push_back(status); }
  std::vector<int> quits;
};

// A desktop without windows, screens, alerts, URL handlers or keyring, for the
// window commands and the plug-ins; it records the URLs and keys it is given.
// (The built host is tested with the real ones.)
struct NoDesktop final : HostWindows, Screens, TextMeasurer, AlertWindowFactory, MainQueue, UrlOpener, SecretStore {
  std::vector<std::unique_ptr<HostWindow>> windows() override { return {}; }
  std::unique_ptr<HostWindow> keyWindow() override { return nullptr; }
  std::optional<ScreenFrames> mainScreen() override { return std::nullopt; }
  double heightOf(std::string_view, double, const SystemFont&) override { return 0; }
  std::unique_ptr<AlertWindow> create(const AlertWindowStyle&) override { return nullptr; }
  void post(Job) override {}
  void postAfter(std::chrono::seconds, Job) override {}
  bool canOpen(const std::string& url) const override {
    given.push_back(url);
    return false;
  }
  Expected<void> open(const std::string& url) override {
    given.push_back(url);
    return Failure{"no handlers in this test"};
  }
  void store(const std::string& key, const std::string& value, Completion<void> done) override {
    given.push_back(key + "=" + value);
    std::move(done)({});
  }
  void lookup(const std::string& key, Completion<std::optional<std::string>> done) override {
    given.push_back(key);
    std::move(done)(std::nullopt);
  }
  void remove(const std::string& key, Completion<void> done) override {
    given.push_back(key);
    std::move(done)({});
  }
  void list(Completion<Entries>) override {}
  void removeAll(Completion<void>) override {}
  mutable std::vector<std::string> given;
};

struct FakeEngine final : ViewEngine {
  explicit FakeEngine(FakeMessenger& engines) : messenger(engines) {}
  BinaryMessenger& binaryMessenger() override { return messenger; }
  FakeMessenger& messenger;
};

// The host's objects over fakes, the catalogue's services over a described
// bundle; its main window absent (no display), hidden or shown, not woken yet.
enum class Window { none, hidden, shown };

struct RunningHost {
  static constexpr const char* kExecutable = "/opt/quillon/quillon-host";

  explicit RunningHost(Window state = Window::none, std::span<const PluginEntry> plugins = generatedPlugins()) {
    bundle.executable = kExecutable;
    native.visible = state == Window::shown;
    window.emplace(state == Window::none ? nullptr : std::make_unique<FakeNativeWindow>(native),
                   MainFlutterWindow::Setup{
                       std::make_unique<FakeEngine>(messenger), [this] { return ++processManagersMade, nullptr; },
                       [this](std::function<ProcessManager&()> processManager) {
                         return CommandServices{std::move(processManager), windowServices, identity.services, environment,
                                              work.blocking};
                       },
                       PluginServices{desktop, desktop}, plugins});
    application.setMainFlutterWindow(&*window);
  }

  ChannelReply call(const char* on, const std::string& method, ChannelValue arguments = {}) {
    return messenger.deliver(on, MethodCall{method, std::move(arguments)});
  }

  FakeMessenger messenger;
  int processManagersMade = 0;
  testing::FakeBundle bundle;
  testing::FakeFiles files;
  testing::CapturingDiagnostics diagnostics;
  BundleEnvironment environment{bundle, files, diagnostics};
  testing::FakeWindowList windowList;
  NoDesktop desktop;
  WindowServices windowServices{windowList, desktop, desktop, desktop, desktop, desktop, diagnostics};
  testing::FakeIdentityPlatform identity;
  testing::InlineBlockingWork work;
  FakeMainLoop loop;
  AppDelegate delegate;
  Application application{delegate, loop};
  WindowState native;
  std::optional<MainFlutterWindow> window;
  std::optional<InstanceChannel> channel{std::in_place, messenger, application};
};

using Sent = std::vector<std::pair<std::string, std::vector<std::uint8_t>>>;

// `count` close requests: null arguments, on the close channel, wanting no reply.
Sent closeRequests(std::size_t count) {
  return Sent(count, {kAppCloseChannel, StandardCodec::encodeMethodCall({"onAppCloseRequested", {}})});
}

// A launched application whose main window has woken on a fake engine.
class CloseHandshakeTest : public ::testing::Test {
 protected:
  CloseHandshakeTest() {
    host_.window->awakeFromNib();
    host_.application.finishLaunching();
  }

  RunningHost host_;
};

// No count and no time-out: each request, the last window's closing among
// them, is offered once and refused.
TEST_F(CloseHandshakeTest, EachTerminationRequestWhileGuardedOffersTheQuitAndIsRefused) {
  host_.application.terminate();
  EXPECT_EQ(host_.messenger.sent, closeRequests(1));
  host_.application.lastWindowClosed();
  host_.application.terminate();
  EXPECT_EQ(host_.messenger.sent, closeRequests(3));
  EXPECT_TRUE(host_.loop.quits.empty());
  EXPECT_FALSE(host_.delegate.shouldTerminate());
}

// Other names answer not-implemented and change nothing; forceQuitApp
// (arguments ignored) releases for good: it ends the loop with 0, harmlessly
// again when sent twice, and a later request is granted unasked.
TEST_F(CloseHandshakeTest, ForceQuitAloneReleasesForGood) {
  for (const char* method : {"ForceQuitApp", "forcequitapp", "forceQuitApp ", " forceQuitApp", "forceQuit",
                             "onAppCloseRequested", "terminate", ""}) {
    EXPECT_EQ(host_.call(kAppCloseChannel, method), ChannelReply::notImplemented()) << '"' << method << '"';
  }
  host_.application.terminate();
  EXPECT_EQ(host_.messenger.sent, closeRequests(1));
  EXPECT_TRUE(host_.loop.quits.empty());
  EXPECT_EQ(host_.call(kAppCloseChannel, "forceQuitApp", "ignored"), ChannelReply::success());
  EXPECT_TRUE(host_.delegate.shouldTerminate());
  EXPECT_EQ(host_.loop.quits, std::vector<int>{0});
  EXPECT_EQ(host_.call(kAppCloseChannel, "forceQuitApp"), ChannelReply::success());
  host_.application.terminate();
  EXPECT_EQ(host_.loop.quits, (std::vector<int>{0, 0, 0}));
  EXPECT_EQ(host_.messenger.sent, closeRequests(1));
}

// The view's close button offers the quit as the window manager's close
// does; with no interface connected nobody could answer, so it ends the loop.
TEST_F(CloseHandshakeTest, TheCloseButtonOffersTheQuitOrWithNobodyToAskEndsTheLoop) {
  host_.application.closeButtonPressed(true);
  EXPECT_EQ(host_.messenger.sent, closeRequests(1));
  EXPECT_TRUE(host_.loop.quits.empty());
  host_.application.closeButtonPressed(false);
  EXPECT_EQ(host_.messenger.sent, closeRequests(1));
  EXPECT_EQ(host_.loop.quits, std::vector<int>{0});
}

// Without a main window, or before it has its view, there is no engine: no
// close channel, nothing sent, every request refused.
TEST(AppDelegateTest, WithoutAnEngineRequestsAreRefusedSilently) {
  for (const bool withWindow : {false, true}) {
    RunningHost host;
    if (!withWindow) host.application.setMainFlutterWindow(nullptr);
    host.application.finishLaunching();
    EXPECT_EQ(host.delegate.applicationShouldTerminate(host.application), TerminateReply::cancel);
    host.application.terminate();
    EXPECT_TRUE(host.loop.quits.empty());
    EXPECT_FALSE(host.messenger.hasHandler(kAppCloseChannel));
    EXPECT_TRUE(host.messenger.sent.empty());
  }
}

// What each plug-in found in place when it was registered. A plug-in entry is
// a plain function, so it reaches the host through a global.
struct Registration {
  int plugin;
  bool commandChannelServed;
  int processManagersMade;
  friend bool operator==(const Registration&, const Registration&) = default;
};
const RunningHost* observed = nullptr;
std::vector<Registration> registrations;

template <int plugin>
void recordRegistration(const PluginRegistrar&) {
  registrations.push_back(
      {plugin, observed->messenger.hasHandler(kNativeCommandChannel), observed->processManagersMade});
}

TEST(MainWindowSetupTest, TheCommandChannelAndTheProcessManagerComeBeforeThePluginsWhichComeInOrderOnce) {
  static constexpr std::array kRecording{PluginEntry{"first", &recordRegistration<1>},
                                         PluginEntry{"second", &recordRegistration<2>},
                                         PluginEntry{"third", &recordRegistration<3>}};
  RunningHost host(Window::none, kRecording);
  observed = &host;
  host.window->awakeFromNib();
  EXPECT_EQ(registrations, (std::vector<Registration>{{1, true, 1}, {2, true, 1}, {3, true, 1}}));
  EXPECT_EQ(host.window->contentViewController()->registeredPlugins(),
            (std::vector<std::string>{"first", "second", "third"}));
  EXPECT_EQ(host.processManagersMade, 1);
  // The catalogue's dispatcher serves the channel, for as long as the window lives.
  EXPECT_EQ(host.call(kNativeCommandChannel, "assembly::getExecutingAssemblyPath"),
            ChannelReply::success(RunningHost::kExecutable));
  host.window.reset();
  EXPECT_FALSE(host.messenger.hasHandler(kNativeCommandChannel));
}

// Once the time for an interface to take it over has passed, the hidden main
// window shows itself, unless an interface has asked the window plug-in about
// it by then (any of its four calls; other names do not count): it stays as
// that interface left it.
TEST(MainWindowTakeOverTest, TheWindowShowsItselfUnlessAnInterfaceAskedTheWindowPlugInFirst) {
  struct Case {
    std::vector<const char*> asked;
    bool shown;
  };
  for (const auto& [asked, shown] :
       {Case{{}, true}, Case{{"isWindowVisible"}, false}, Case{{"getAppWindowHandle"}, false},
        Case{{"showWindow", "hideWindow"}, false}, Case{{"showWindow"}, true}, Case{{"startDragging"}, true}}) {
    SCOPED_TRACE(::testing::PrintToString(asked));
    RunningHost host(Window::hidden);
    host.window->awakeFromNib();
    for (const char* method : asked) host.call(BitsdojoWindowPlugin::kChannel, method);
    host.application.interfaceTakeOverTimeEnded();
    EXPECT_EQ(host.native.visible, shown);
  }
}

// The arguments the list of latest calls shows as sizes alone.
TEST(SecretArgumentsTest, AStoredSecretAndACertificateShowTheirSizesAlone) {
  const CallSummariser summariser(secretArguments());
  EXPECT_EQ(summariser.arguments(FlutterSecureStoragePlugin::kChannel,
                                 {"write", testing::argumentMap({{"key", "k"}, {"value", "secret"}})}),
            R"({"key": "k", "value": <hidden: 6 bytes>})");
  EXPECT_EQ(summariser.arguments(kNativeCommandChannel,
                                 {"ssl::addCertificate", testing::argumentMap({{"certificate", "MIIB"}})}),
            R"({"certificate": <hidden: 4 bytes>})");
}

ChannelValue startupId(ChannelValue id) { return testing::argumentMap({{"startupId", std::move(id)}}); }

// A second launch handed over on the instance channel: only a shown window
// comes forward; a hidden one's launch notification is ended; wrong arguments
// and other names change nothing.
TEST(InstanceChannelTest, ActivateBringsOnlyAShownWindowForwardAndEndsAHiddenOnesLaunch) {
  for (const Window state : {Window::none, Window::hidden, Window::shown}) {
    SCOPED_TRACE(static_cast<int>(state));
    RunningHost host(state);
    for (const ChannelValue& arguments :
         {ChannelValue("launch-1"), startupId(7), startupId(ChannelValue()), ChannelValue(ChannelMap())}) {
      EXPECT_EQ(host.call(InstanceChannel::kName, "activate", arguments),
                ChannelReply::error("INVALID_ARGUMENT", "Expected startupId"))
          << describe(arguments);
    }
    EXPECT_TRUE(host.call(InstanceChannel::kName, "Activate").isNotImplemented());
    EXPECT_TRUE(host.call(InstanceChannel::kName, "showWindow").isNotImplemented());
    const bool shown = state == Window::shown;
    EXPECT_EQ(host.call(InstanceChannel::kName, "activate", startupId("launch-1_TIME42")), ChannelReply::success(shown));
    EXPECT_EQ(host.call(InstanceChannel::kName, "activate"), ChannelReply::success(shown));
    const std::vector<std::string> bothLaunches{"launch-1_TIME42", ""};
    EXPECT_EQ(host.native.broughtForward, shown ? bothLaunches : std::vector<std::string>{});
    EXPECT_EQ(host.native.notificationsEnded, state == Window::hidden ? bothLaunches : std::vector<std::string>{});
    EXPECT_EQ(host.native.visible, shown);
    EXPECT_TRUE(host.loop.quits.empty());
    // The handler goes with the channel.
    host.channel.reset();
    EXPECT_FALSE(host.messenger.hasHandler(InstanceChannel::kName));
  }
}

// Each text the shell hands on keeps to its limit: up to it, the text reaches
// the window or the plug-in's service as it is; a byte more, or a NUL where a
// C string would end there, is refused before it goes anywhere.
TEST(ArgumentLimitsTest, TextsBeyondTheirLimitsAreRefusedBeforeTheyGoAnywhere) {
  using testing::argumentMap;
  const std::string id(4096, 'i');
  const std::string url = "https://example.org/" + std::string(64 * 1024 - 20, 'u');
  const std::string key(4096, 'k');
  const std::string value(64 * 1024, 'v');
  const std::string withNul("a\0b", 3);
  const char* storage = FlutterSecureStoragePlugin::kChannel;
  const char* urls = UrlLauncherPlugin::kChannel;
  const auto refused = [](const std::string& message) { return ChannelReply::error("INVALID_ARGUMENT", message); };
  const ChannelReply idRefused = refused("Expected startupId of at most 4096 bytes without NUL");
  const ChannelReply urlRefused = refused("Expected url of at most 65536 bytes without NUL");
  const ChannelReply keyRefused = refused("Expected a string \"key\" of at most 4096 bytes without NUL");
  const ChannelReply valueRefused = refused("Expected a string \"value\" of at most 65536 bytes");
  // {channel, method, arguments, what reached the window or the service, or the refusal}
  const std::tuple<const char*, const char*, ChannelValue, std::variant<std::string, ChannelReply>> cases[] = {
      {InstanceChannel::kName, "activate", argumentMap({{"startupId", id}}), id},
      {InstanceChannel::kName, "activate", argumentMap({{"startupId", id + "i"}}), idRefused},
      {InstanceChannel::kName, "activate", argumentMap({{"startupId", withNul}}), idRefused},
      {urls, "canLaunch", argumentMap({{"url", url}}), url},
      {urls, "launch", argumentMap({{"url", url}}), url},
      {urls, "canLaunch", argumentMap({{"url", url + "u"}}), urlRefused},
      {urls, "launch", argumentMap({{"url", url + "u"}}), urlRefused},
      {urls, "launch", argumentMap({{"url", withNul}}), urlRefused},
      {storage, "read", argumentMap({{"key", key}}), key},
      {storage, "write", argumentMap({{"key", "k"}, {"value", value}}), "k=" + value},
      {storage, "containsKey", argumentMap({{"key", key + "k"}}), keyRefused},
      {storage, "read", argumentMap({{"key", key + "k"}}), keyRefused},
      {storage, "delete", argumentMap({{"key", withNul}}), keyRefused},
      {storage, "write", argumentMap({{"key", withNul}, {"value", "v"}}), keyRefused},
      {storage, "write", argumentMap({{"key", "k"}, {"value", value + "v"}}), valueRefused},
  };
  for (const auto& [channel, method, arguments, outcome] : cases) {
    SCOPED_TRACE(std::string(method) + " " + describe(arguments).substr(0, 60));
    RunningHost host(Window::shown);
    host.window->awakeFromNib();
    const ChannelReply reply = host.call(channel, method, arguments);
    std::vector<std::string> reached = host.native.broughtForward;
    reached.insert(reached.end(), host.desktop.given.begin(), host.desktop.given.end());
    if (const auto* refusal = std::get_if<ChannelReply>(&outcome)) {
      EXPECT_EQ(reply, *refusal);
      EXPECT_TRUE(reached.empty());
    } else {
      EXPECT_EQ(reached, std::vector<std::string>{std::get<std::string>(outcome)});
    }
  }
}

}  // namespace
}  // namespace quillon
