// The names the desktop knows the application's windows by: the program name
// and the window class of every window's WM_CLASS. A desktop entry names the
// class in its StartupWMClass, so that docks and task bars put the windows
// under the entry's icon and name.
//
// Contract: main thread, once, after GTK is initialised (gtkDesktopAvailable(),
// whose start-up sets a class of its own from the program name) and before the
// first window is created: a GTK window takes both names when it is made.
#pragma once

namespace quillon {

void setProgramClass(const char* programName, const char* windowClass);

}  // namespace quillon
