#include "app/main_flutter_window.h"

namespace quillon {

MainFlutterWindow::MainFlutterWindow(std::unique_ptr<NativeWindow> native, Setup setup)
    : BitsdojoWindow(std::move(native)), setup_(std::move(setup)) {}

void MainFlutterWindow::awakeFromNib() {
  auto controller = std::make_unique<FlutterViewController>(std::move(setup_.engine), setup_.pluginServices);
  const std::optional<WindowFrame> describedFrame = frame();
  setContentViewController(std::move(controller));
  // The view must not size the window: the description's frame holds.
  if (describedFrame) setFrame(*describedFrame);
  // The standard buttons are the window manager's, in its title bar: the
  // custom frame of the configuration takes them off in the base wake-up.

  // The process manager is in place before the dispatcher can receive a call,
  // and the dispatcher before any plug-in is registered.
  processManager_ = setup_.makeProcessManager();
  commandChannel_ = std::make_unique<NativeCommandChannel>(
      contentViewController()->engine().binaryMessenger(),
      setup_.commandServices([this]() -> ProcessManager& { return *processManager_; }));

  registerGeneratedPlugins(*contentViewController(), setup_.plugins);
  BitsdojoWindow::awakeFromNib();
}

}  // namespace quillon
