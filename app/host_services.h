// HostServices: the host's platform implementations and the stateless services
// that the command catalogue reaches, and the workers on which the commands
// that wait for a tool or scan the machine run. Built once on the main thread
// at start-up and kept for the life of the host; everything it hands out
// borrows from it. endBackgroundWork() must come before anything the jobs use
// goes (the main window's ProcessManager); the destructor does it too.
#pragma once

#include <functional>

#include "bundle/assembly_data.h"
#include "commands/blocking_work.h"
#include "commands/command_catalogue.h"
#include "identity/identity_services.h"
#include "platform/linux/desktop/gtk_alert_window.h"
#include "platform/linux/desktop/gtk_host_windows.h"
#include "platform/linux/desktop/gtk_screens.h"
#include "platform/linux/desktop/pango_text_measurer.h"
#include "platform/linux/desktop/x11_window_list.h"
#include "platform/linux/identity/glib_uuid_generator.h"
#include "platform/linux/identity/icu_date_parser.h"
#include "platform/linux/identity/linux_hardware_identity.h"
#include "platform/linux/identity/linux_temporary_directory.h"
#include "platform/linux/identity/nss_keychain.h"
#include "platform/linux/identity/sysfs_network_interfaces.h"
#include "platform/linux/process/pidfd_process_ends.h"
#include "platform/linux/process/posix_tool_runner.h"
#include "platform/linux/process/proc_main_window_handles.h"
#include "platform/linux/process/proc_running_applications.h"
#include "platform/linux/system/flutter_bundle_locator.h"
#include "platform/linux/system/glib_main_queue.h"
#include "platform/linux/system/glib_worker_pool.h"
#include "platform/linux/system/linux_file_system.h"
#include "platform/linux/system/stdout_diagnostics.h"
#include "platform/linux/system/system_clock.h"
#include "process/process_environment.h"
#include "window/window_services.h"

namespace quillon {

class HostServices {
 public:
  HostServices();
  HostServices(const HostServices&) = delete;
  HostServices& operator=(const HostServices&) = delete;

  // The services of the catalogue; `processManager` names the one instance,
  // which its owner (the main window) keeps.
  CommandServices commandServices(std::function<ProcessManager&()> processManager);

  // For the host's end: the jobs waiting are answered "UNAVAILABLE", the tools
  // running are killed, and the workers end once the jobs running have been
  // answered. Later jobs are refused at once.
  void endBackgroundWork();
  // Kills the tools running now, and every later run fails: for an end that
  // cannot wait for the workers (the display gone).
  void endToolRuns() { tools_.endAllRuns(); }
  ~HostServices() { endBackgroundWork(); }

  Diagnostics& diagnostics() { return diagnostics_; }
  MainQueue& mainQueue() { return mainQueue_; }
  // The platform of the process services, for the owner of the ProcessManager.
  const ProcessEnvironment& processEnvironment() const { return process_; }

 private:
  // Tool runs mostly wait; four let three callers go on beside one whose
  // tool hangs until its time limit (docs/process.md).
  static constexpr unsigned kWorkers = 4;

  StdoutDiagnostics diagnostics_;
  GlibMainQueue mainQueue_;
  PosixToolRunner tools_;
  GlibWorkerPool workers_{kWorkers};
  BlockingWork blocking_{workers_, kWorkers};

  LinuxFileSystem files_;
  FlutterBundleLocator bundleLocator_;
  BundleEnvironment bundle_;

  X11WindowList windowList_;
  GtkHostWindows hostWindows_;
  GtkScreens screens_;
  PangoTextMeasurer textMeasurer_;
  GtkAlertWindowFactory alertWindows_;
  WindowServices window_;

  ProcRunningApplications applications_;
  ProcMainWindowHandles mainWindowHandles_;
  PidfdProcessEnds processEnds_;
  ProcessEnvironment process_;

  NssKeychain keychain_{NssKeychain::userDatabaseDirectory()};
  LinuxTemporaryDirectory temporaryDirectory_;
  GlibUuidGenerator uuids_;
  IcuDateParser dates_;
  SystemClock clock_;
  SysfsNetworkInterfaces interfaces_;
  LinuxHardwareIdentity hardware_;
  IdentityServices identity_;
};

}  // namespace quillon
