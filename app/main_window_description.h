// The application's own description of its main window: what the window is
// created with at start-up, before anything is shown.
#pragma once

#include "platform/native_window.h"

namespace quillon {

struct MainWindowDescription {
  const char* title;
  WindowFrame frame;
};

inline constexpr MainWindowDescription kMainWindowDescription{"QUILLON", {160, 120, 1100, 720}};

}  // namespace quillon
