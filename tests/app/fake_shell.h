// Fakes of the shell's platform pieces: a native window that keeps its state
// in memory, a main loop that records quits, and an engine over a fake
// messenger that the test keeps a view of, the catalogue's services over
// a described bundle, and the plug-ins' desktop services.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
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
#include "tests/app/fake_messenger.h"
#include "tests/bundle/fake_bundle.h"
#include "tests/identity/fake_identity_platform.h"
#include "tests/support/capturing_diagnostics.h"
#include "tests/window/fake_desktop.h"

namespace quillon::testing {

class FakeNativeWindow final : public NativeWindow {
 public:
  struct State {
    WindowFrame frame;
    std::vector<WindowFrame> framesSet;
    bool customFrame = false;
    bool visible = false;
    std::int64_t number = 0x2a00003;
    // The startup ids of the launches it came forward for, and of those it ended the notification of.
    std::vector<std::string> broughtForward;
    std::vector<std::string> notificationsEnded;
  };

  explicit FakeNativeWindow(std::shared_ptr<State> state) : state_(std::move(state)) {}

  std::int64_t number() const override { return state_->number; }
  WindowFrame frame() const override { return state_->frame; }
  void setFrame(const WindowFrame& frame) override {
    state_->frame = frame;
    state_->framesSet.push_back(frame);
  }
  void useCustomFrame() override { state_->customFrame = true; }
  void show() override { state_->visible = true; }
  void hide() override { state_->visible = false; }
  bool isVisible() const override { return state_->visible; }
  void bringForward(const std::string& startupId) override { state_->broughtForward.push_back(startupId); }
  void endStartupNotification(const std::string& startupId) override {
    state_->notificationsEnded.push_back(startupId);
  }

 private:
  std::shared_ptr<State> state_;
};

class FakeMainLoop final : public MainLoop {
 public:
  int run() override { return quits.empty() ? -1 : quits.front(); }
  void quit(int status) override { quits.push_back(status); }

  std::vector<int> quits;
};

class FakeEngine final : public ViewEngine {
 public:
  explicit FakeEngine(FakeMessenger& messenger) : messenger_(messenger) {}
  BinaryMessenger& binaryMessenger() override { return messenger_; }

 private:
  FakeMessenger& messenger_;
};

// A desktop that opens the URLs of the schemes it is given, and keeps them.
class FakeUrlOpener final : public UrlOpener {
 public:
  bool canOpen(const std::string& url) const override { return schemes.contains(url.substr(0, url.find(':'))); }
  std::optional<std::string> open(const std::string& url) override {
    if (!canOpen(url)) return "no application for " + url;
    opened.push_back(url);
    return std::nullopt;
  }

  std::set<std::string> schemes;
  std::vector<std::string> opened;
};

// A keyring in memory. Operations complete at once; while `holding`, they
// wait, in order, until completeHeld(), and take effect only then. With
// `failure` set, an operation that completes fails with it and changes
// nothing.
class FakeSecretStore final : public SecretStore {
 public:
  void store(const std::string& key, const std::string& value, Completion<Done> done) override {
    complete<Done>(
        [this, key, value] {
          secrets.insert_or_assign(key, value);
          return Done{};
        },
        std::move(done));
  }
  void lookup(const std::string& key, Completion<std::optional<std::string>> done) override {
    complete<std::optional<std::string>>(
        [this, key] { return secrets.contains(key) ? std::optional(secrets.at(key)) : std::nullopt; }, std::move(done));
  }
  void remove(const std::string& key, Completion<Done> done) override {
    complete<Done>(
        [this, key] {
          secrets.erase(key);
          return Done{};
        },
        std::move(done));
  }
  void list(Completion<Entries> done) override {
    complete<Entries>([this] { return secrets; }, std::move(done));
  }
  void removeAll(Completion<Done> done) override {
    complete<Done>(
        [this] {
          secrets.clear();
          return Done{};
        },
        std::move(done));
  }

  // Completes every held operation, in the order they came.
  void completeHeld() {
    for (auto& operation : std::exchange(held_, {})) operation();
  }
  std::size_t heldCount() const { return held_.size(); }

  Entries secrets;
  std::optional<std::string> failure;
  bool holding = false;

 private:
  template <typename T>
  void complete(std::function<T()> effect, Completion<T> done) {
    auto operation = [this, effect = std::move(effect), done = std::move(done)] {
      if (failure) return done(Failure{*failure});
      done(effect());
    };
    if (holding) return held_.push_back(std::move(operation));
    operation();
  }

  std::vector<std::function<void()>> held_;
};

// The services of the catalogue over a bundle whose executable is kExecutable,
// and the desktop services of the plug-ins.
struct FakeHostServices {
  static constexpr const char* kExecutable = "/opt/quillon/quillon-host";

  FakeHostServices() {
    bundle.executable = kExecutable;
  }
  FakeHostServices(const FakeHostServices&) = delete;
  FakeHostServices& operator=(const FakeHostServices&) = delete;

  MainFlutterWindow::ServicesFactory servicesFactory() {
    return [this](std::function<ProcessManager&()> processManager) {
      return CommandServices{std::move(processManager), desktop.services, identity.services, environment};
    };
  }

  FakeBundle bundle;
  FakeFiles files;
  CapturingDiagnostics diagnostics;
  BundleEnvironment environment{bundle, files, diagnostics};
  FakeDesktop desktop;
  FakeIdentityPlatform identity;
  FakeUrlOpener urls;
  FakeSecretStore secrets;
  PluginServices pluginServices() { return {urls, secrets}; }
};

}  // namespace quillon::testing
