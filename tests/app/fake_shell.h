// Fakes of the shell's platform pieces (a native window and a main loop that
// keep their state in memory, a keyring in memory), and FakeShell: an engine
// over a fake messenger and the catalogue's services over a described bundle,
// from which a test builds its main window.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "app/main_flutter_window.h"
#include "app/view_engine.h"
#include "bundle/assembly_data.h"
#include "platform/main_loop.h"
#include "platform/native_window.h"
#include "platform/secret_store.h"
#include "platform/url_opener.h"
#include "tests/bundle/fake_bundle.h"
#include "tests/identity/fake_identity_platform.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/support/fake_messenger.h"
#include "tests/window/fake_desktop.h"

namespace quillon::testing {

class FakeNativeWindow final : public NativeWindow {
 public:
  struct State {
    WindowFrame frame;
    bool visible = false;
    // The startup ids of the launches it came forward for, and of those it ended the notification of.
    std::vector<std::string> broughtForward, notificationsEnded;
  };

  explicit FakeNativeWindow(std::shared_ptr<State> state) : state_(std::move(state)) {}

  std::int64_t number() const override { return 0x2a00003; }
  WindowFrame frame() const override { return state_->frame; }
  void setFrame(const WindowFrame& frame) override { state_->frame = frame; }
  void useCustomFrame() override {}
  void show() override { state_->visible = true; }
  void hide() override { state_->visible = false; }
  bool isVisible() const override { return state_->visible; }
  void bringForward(const std::string& startupId) override { state_->broughtForward.push_back(startupId); }
  void endStartupNotification(const std::string& id) override { state_->notificationsEnded.push_back(id); }

 private:
  std::shared_ptr<State> state_;
};

class FakeMainLoop final : public MainLoop {
 public:
  int run() override { return quits.empty() ? -1 : quits.front(); }
  void quit(int status) override { quits.push_back(status); }

  std::vector<int> quits;
};

// A keyring in memory. Operations complete at once; while `holding`, they
// wait, in order, in `held` until completeHeld(), and take effect only then.
// With `failure` set, an operation that completes fails with it and changes
// nothing.
class FakeSecretStore final : public SecretStore {
 public:
  void store(const std::string& key, const std::string& value, Completion<Done> done) override {
    run(std::move(done), [=, this] { return secrets.insert_or_assign(key, value), Done{}; });
  }
  void lookup(const std::string& key, Completion<std::optional<std::string>> done) override {
    run(std::move(done), [=, this] { return secrets.contains(key) ? std::optional(secrets.at(key)) : std::nullopt; });
  }
  void remove(const std::string& key, Completion<Done> done) override {
    run(std::move(done), [=, this] { return secrets.erase(key), Done{}; });
  }
  void list(Completion<Entries> done) override { run(std::move(done), [this] { return secrets; }); }
  void removeAll(Completion<Done> done) override {
    run(std::move(done), [this] { return secrets.clear(), Done{}; });
  }

  void completeHeld() {
    for (auto& operation : std::exchange(held, {})) operation();
  }

  Entries secrets;
  std::optional<std::string> failure;
  bool holding = false;
  std::vector<std::function<void()>> held;

 private:
  template <typename T, typename Effect>
  void run(Completion<T> done, Effect effect) {
    auto operation = [this, done = std::move(done), effect] { failure ? done(Failure{*failure}) : done(effect()); };
    holding ? held.push_back(operation) : operation();
  }
};

// The desktop of the URL plug-in, which these tests leave alone (the built
// host is tested with the real one).
class NoUrlHandlers final : public UrlOpener {
 public:
  bool canOpen(const std::string&) const override { return false; }
  std::optional<std::string> open(const std::string&) override { return "no handlers in this test"; }
};

class FakeEngine final : public ViewEngine {
 public:
  explicit FakeEngine(FakeMessenger& messenger) : messenger_(messenger) {}
  BinaryMessenger& binaryMessenger() override { return messenger_; }

 private:
  FakeMessenger& messenger_;
};

struct FakeShell {
  static constexpr const char* kExecutable = "/opt/quillon/quillon-host";

  FakeShell() { bundle.executable = kExecutable; }
  FakeShell(const FakeShell&) = delete;
  FakeShell& operator=(const FakeShell&) = delete;

  // What a main window is built from; it counts the process managers made.
  MainFlutterWindow::Setup setup(std::span<const PluginEntry> plugins = generatedPlugins()) {
    return {std::make_unique<FakeEngine>(messenger),
            [this] { return ++processManagersMade, nullptr; },
            [this](std::function<ProcessManager&()> processManager) {
              return CommandServices{std::move(processManager), desktop.services, identity.services, environment};
            },
            PluginServices{urls, secrets},
            plugins};
  }

  FakeMessenger messenger;
  int processManagersMade = 0;
  FakeBundle bundle;
  FakeFiles files;
  CapturingDiagnostics diagnostics;
  BundleEnvironment environment{bundle, files, diagnostics};
  FakeDesktop desktop;
  FakeIdentityPlatform identity;
  NoUrlHandlers urls;
  FakeSecretStore secrets;
};

}  // namespace quillon::testing
