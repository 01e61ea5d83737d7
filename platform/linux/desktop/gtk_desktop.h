// The GTK desktop that the host's window services run on. GTK is initialised on
// first use with gtk_init_check, so that without a display (no DISPLAY, or the X
// server refuses) every desktop service answers its failure value instead of
// aborting the process.
#pragma once

#include <gtk/gtk.h>

#include <optional>
#include <string>

namespace quillon {

// True when GTK is initialised and has a default display. Main thread only.
bool gtkDesktopAvailable();

// The height of the whole X screen in pixels: what turns X's top-left-origin
// coordinates into the bottom-left-origin frames of the window services.
// Requires gtkDesktopAvailable().
double desktopHeight();

// Device pixels per point (GDK's application pixel): GDK's window scale, from
// GDK_SCALE or the desktop's settings, as it was last on the main thread, for
// any thread: taken when gtkDesktopAvailable() opens the display, and again
// whenever GDK reports that the monitors or the scale changed. Nothing before
// that, or without a display.
std::optional<int> lastWindowScale();

// The host's top-level window that has the keyboard focus, or nullptr.
GtkWindow* activeHostWindow();

// The family of the desktop's user-interface font ("Sans" without a display).
std::string systemFontFamily();

}  // namespace quillon
