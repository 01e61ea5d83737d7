// MainFlutterWindow: the application's one main window. Its wake-up builds the
// view controller (which owns the engine), keeps the described frame, opens the
// native command channel, creates the one ProcessManager, installs the
// CommandDispatcher and then registers the plug-ins.
//
// Contract: main thread only; created once at start-up and woken once. The
// window owns the channel's handler and `processManager`; the handler reads
// `processManager` from the window on every process command, so the window
// removes the handler when it goes.
#pragma once

#include <functional>
#include <memory>
#include <span>

#include "app/bitsdojo_window.h"
#include "app/generated_plugin_registrant.h"
#include "app/native_command_channel.h"
#include "process/process_manager.h"

namespace quillon {

class MainFlutterWindow final : public BitsdojoWindow {
 public:
  using ProcessManagerFactory = std::function<std::unique_ptr<ProcessManager>()>;
  // The services of the catalogue; `processManager` names the window's instance.
  using ServicesFactory = std::function<CommandServices(std::function<ProcessManager&()> processManager)>;

  // What the wake-up builds from.
  struct Setup {
    std::unique_ptr<ViewEngine> engine;
    ProcessManagerFactory makeProcessManager;
    ServicesFactory commandServices;
    PluginServices pluginServices;  // outlive the window
    std::span<const PluginEntry> plugins = generatedPlugins();
  };

  // `native` is none without a display.
  MainFlutterWindow(std::unique_ptr<NativeWindow> native, Setup setup);

  // Custom frame, hidden until the interface shows it.
  unsigned bitsdojo_window_configure() const override { return kCustomFrame | kHideOnStartup; }

  void awakeFromNib() override;

  // None until the wake-up.
  ProcessManager* processManager() const { return processManager_.get(); }

 private:
  Setup setup_;
  std::unique_ptr<ProcessManager> processManager_;
  // Destroyed first, before the engine in the base's view controller: it
  // removes its handler from the engine's messenger.
  std::unique_ptr<NativeCommandChannel> commandChannel_;
};

}  // namespace quillon
