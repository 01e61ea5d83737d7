// HostApplication: the host as a desktop application. It builds the platform's
// side of start-up in order (the interface link, the main window from its
// description, the window's wake-up, the end of launching) and runs the main
// loop until a termination request is granted. Without a display it runs all
// the same, without windows; the system's signals still reach the handshake.
// When the display goes away under it, it closes the link and ends at once
// with status 0 (platform/linux/shell/display_loss.h).
// When another host already serves the interface link, the launch is handed
// over to it and the process ends. The main window lists the link's traffic
// (CallLog), and shows itself when no interface has taken it over
// kInterfaceTakeOverTime after start-up.
//
// Contract: construct, run() once, destroy, all on the main thread. run()
// answers the process's exit status; everything it built, the link included,
// is closed before it returns.
#pragma once

#include <memory>
#include <string>

#include "app/app_delegate.h"
#include "app/application.h"
#include "app/host_services.h"
#include "app/main_flutter_window.h"
#include "embedding/engine.h"
#include "traffic/call_log.h"
#include "platform/linux/shell/gio_url_opener.h"
#include "platform/linux/shell/glib_main_loop.h"
#include "platform/linux/shell/libsecret_secret_store.h"

namespace quillon {

class HostApplication {
 public:
  HostApplication() = default;
  HostApplication(const HostApplication&) = delete;
  HostApplication& operator=(const HostApplication&) = delete;

  int run();

 private:
  static std::string launchStartupId();
  std::unique_ptr<NativeWindow> createMainWindow(Engine& link, CallLog& calls);

  HostServices services_;
  GioUrlOpener urlOpener_;
  LibsecretSecretStore secretStore_;
  GlibMainLoop loop_;
  AppDelegate delegate_;
  Application application_{delegate_, loop_};
};

}  // namespace quillon
