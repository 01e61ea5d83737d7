#include "app/host_application.h"

#include <cstdlib>

#include "app/instance_channel.h"
#include "app/launch_handover.h"
#include "app/link_view_engine.h"
#include "app/main_window_description.h"
#include "app/secret_arguments.h"
#include "base/printed_lines.h"
#include "channel/utf8_text.h"
#include "commands/argument_limits.h"
#include "traffic/stand_in_text.h"
#include "platform/linux/desktop/gtk_desktop.h"
#include "platform/linux/shell/display_loss.h"
#include "platform/linux/shell/gtk_main_window.h"
#include "platform/linux/shell/gtk_program_class.h"
#include "platform/linux/shell/termination_signals.h"
#include "process/process_manager.h"

namespace quillon {

int HostApplication::run() {
  // Caught from the start: a request that comes during start-up is delivered
  // once the main loop runs, like any other.
  const TerminationSignals signals([this] { application_.terminate(); });
  auto engine = std::make_unique<LinkViewEngine>();
  if (const auto started = engine->engine().start(); !started.hasValue()) {
    const std::string& reason = started.error().reason;
    if (engine->engine().anotherHostServes()) {
      return handOverLaunch(engine->engine().socketPath(), launchStartupId(), reason);
    }
    standardErrorLines().print("start-up", "quillon-host: " + reason);
    return 1;
  }
  Engine& link = engine->engine();
  // Outlives the engine, which tells it of the connections it closes.
  CallLog calls{CallSummariser(secretArguments())};
  std::unique_ptr<NativeWindow> mainWindow = createMainWindow(link, calls);
  const bool onDesktop = mainWindow != nullptr;
  // Headless, nobody could see the list: the link goes unobserved.
  if (onDesktop) link.setObserver(&calls);
  MainFlutterWindow window(std::move(mainWindow),
                           MainFlutterWindow::Setup{
                               std::move(engine),
                               [this] { return std::make_unique<ProcessManager>(services_.processEnvironment()); },
                               [this](std::function<ProcessManager&()> processManager) {
                                 return services_.commandServices(std::move(processManager));
                               },
                               PluginServices{urlOpener_, secretStore_},
                           });
  application_.setMainFlutterWindow(&window);
  window.awakeFromNib();
  application_.finishLaunching();
  // Later launches of the application hand themselves over to this one.
  const InstanceChannel instance(window.contentViewController()->engine().binaryMessenger(), application_);
  // A launch without an interface shows its window all the same; headless
  // there is none to show. (The job finds no window once the loop has ended.)
  if (onDesktop) {
    services_.mainQueue().postAfter(kInterfaceTakeOverTime, [this] { application_.interfaceTakeOverTimeEnded(); });
  }

  const int status = application_.run();
  // The jobs on the workers use the window's ProcessManager: they end first.
  services_.endBackgroundWork();
  application_.setMainFlutterWindow(nullptr);
  return status;
}

std::string HostApplication::launchStartupId() {
  // Set by the desktop for a launch from a menu entry that asks for startup
  // notification. A host that serves the link leaves it to GTK, which reads it
  // as the process starts and passes over one that is not UTF-8. A launch
  // handed over sends it on, so it must be text of the running host's size.
  const char* id = std::getenv("DESKTOP_STARTUP_ID");
  if (id == nullptr) return "";
  if (!isUtf8Text(id)) {
    standardErrorLines().print("start-up",
                               "quillon-host: DESKTOP_STARTUP_ID is not UTF-8; the launch is handed over without it");
    return "";
  }
  if (!keepsTo(kStartupIdLimit, id)) {
    standardErrorLines().print("start-up", "quillon-host: DESKTOP_STARTUP_ID is longer than " +
                                               std::to_string(kStartupIdLimit.longestBytes) +
                                               " bytes; the launch is handed over without it");
    return "";
  }
  return id;
}

std::unique_ptr<NativeWindow> HostApplication::createMainWindow(Engine& link, CallLog& calls) {
  if (!gtkDesktopAvailable()) {
    standardErrorLines().print("start-up", "quillon-host: no display; running without windows");
    return nullptr;
  }
  endOnDisplayLoss([this, &link] {
    services_.endToolRuns();
    link.shutdown();
  });
  setProgramClass(kMainWindowDescription.programName, kMainWindowDescription.windowClass);
  // The application's id names its window class and, as in its desktop entry, its icon.
  const StandInContent content{kApplicationName, kMainWindowDescription.windowClass, pathText(link.socketPath()),
                               callLine(link.socketPath(), Engine::defaultSocketPath())};
  auto view = std::make_unique<GtkStandInView>(
      content, calls, [this, &calls] { application_.closeButtonPressed(calls.connections() > 0); });
  return std::make_unique<GtkMainWindow>(kMainWindowDescription.title, kMainWindowDescription.frame,
                                         TerminationRequests{[this] { application_.terminate(); },
                                                             [this] { application_.lastWindowClosed(); }},
                                         std::move(view));
}

}  // namespace quillon
