// HostServices: the host's platform implementations and the stateless services
// that the command catalogue reaches. Built once on the main thread at start-up
// and kept for the life of the host; everything it hands out borrows from it.
#pragma once

#include <functional>

#include "bundle/assembly_data.h"
#include "channel/command_catalogue.h"
#include "platform/linux/flutter_bundle_locator.h"
#include "platform/linux/glib_main_queue.h"
#include "platform/linux/gtk_alert_window.h"
#include "platform/linux/gtk_host_windows.h"
#include "platform/linux/gtk_screens.h"
#include "platform/linux/linux_file_system.h"
#include "platform/linux/pango_text_measurer.h"
#include "platform/linux/stdout_diagnostics.h"
#include "platform/linux/x11_window_list.h"
#include "window/window_services.h"

namespace quillon {

class HostServices {
 public:
  HostServices();
  HostServices(const HostServices&) = delete;
  HostServices& operator=(const HostServices&) = delete;

  // The services of the catalogue; `processManager` names the one instance,
  // which its owner (the main window) keeps.
  CommandServices commandServices(std::function<ProcessManager&()> processManager) const;

  Diagnostics& diagnostics() { return diagnostics_; }

 private:
  StdoutDiagnostics diagnostics_;
  LinuxFileSystem files_;
  FlutterBundleLocator bundleLocator_;
  BundleEnvironment bundle_;
  GlibMainQueue mainQueue_;
  X11WindowList windowList_;
  GtkHostWindows hostWindows_;
  GtkScreens screens_;
  PangoTextMeasurer textMeasurer_;
  GtkAlertWindowFactory alertWindows_;
  WindowServices window_;
};

}  // namespace quillon
