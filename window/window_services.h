// WindowServices: the platform interfaces that the window and screen services
// reach. The host builds one at start-up (app/host_services) and keeps every
// referenced object alive for as long as commands can run.
#pragma once

#include "platform/alert_window.h"
#include "platform/diagnostics.h"
#include "platform/host_windows.h"
#include "platform/main_queue.h"
#include "platform/screens.h"
#include "platform/text_measurer.h"
#include "platform/window_list.h"

namespace quillon {

struct WindowServices {
  WindowList& windowList;
  HostWindows& hostWindows;
  Screens& screens;
  TextMeasurer& textMeasurer;
  AlertWindowFactory& alertWindows;
  MainQueue& mainQueue;
  Diagnostics& diagnostics;
};

}  // namespace quillon
