// The application's own description of its main window: what the window is
// created with at start-up, before anything is shown. Its WM_CLASS is the
// program's name and the window class that the desktop entry
// (packaging/app.quillon.RemoteApp.desktop) names as its StartupWMClass.
#pragma once

#include "platform/native_window.h"

namespace quillon {

struct MainWindowDescription {
  const char* title;
  WindowFrame frame;
  const char* programName;
  const char* windowClass;
};

// The application's name, as its desktop entry and its alerts say it.
inline constexpr char kApplicationName[] = "QUILLON Remote App";

inline constexpr MainWindowDescription kMainWindowDescription{
    "QUILLON", {160, 120, 1100, 720}, "quillon-host", "app.quillon.RemoteApp"};

}  // namespace quillon
