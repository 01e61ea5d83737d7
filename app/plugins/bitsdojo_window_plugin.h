// BitsdojoWindowPlugin: the native half of the window-chrome plug-in. It lets
// the interface show and hide the main window, and learn its window number,
// over the channel "bitsdojo/window":
//   "showWindow", "hideWindow" -> null; "isWindowVisible" -> bool;
//   "getAppWindowHandle" -> the main window's number, the "windowHandle" of
//   "window::showWindow";
//   without a display each answers the error "UNAVAILABLE";
//   any other name -> not-implemented.
// The frame stays the one the window was given; showing never resizes it.
// Once an interface has asked any of the four, the window is the interface's
// to show: the host no longer shows it by itself (Application).
#pragma once

#include "app/plugin_registry.h"

namespace quillon {

class BitsdojoWindowPlugin {
 public:
  static constexpr const char* kChannel = "bitsdojo/window";

  static void registerWith(const PluginRegistrar& registrar);
};

}  // namespace quillon
