// Shows an alert over a stand-in main window on the X display and saves a
// screenshot of the whole screen (ImageMagick's import) to the path given.
// scripts/alert-screenshot runs it on a private desktop to refresh docs/alert.png.
#include <gtk/gtk.h>

#include <cstdio>
#include <string>

#include "tests/window/desktop_support.h"
#include "window/application_window.h"

int main(int argc, char** argv) {
  using namespace quillon::testing;
  if (argc != 2 || !quillon::gtkDesktopAvailable()) {
    std::fprintf(stderr, "usage: alert_screenshot OUTPUT.png (on an X display)\n");
    return 2;
  }
  LinuxDesktop desktop;
  GtkWidget* mainWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(mainWindow), "QUILLON Remote App - main window");
  gtk_window_set_default_size(GTK_WINDOW(mainWindow), 900, 600);
  gtk_window_move(GTK_WINDOW(mainWindow), 190, 150);
  gtk_container_add(GTK_CONTAINER(mainWindow), gtk_label_new("Remote sessions"));
  gtk_widget_show_all(mainWindow);
  if (!waitUntil([&] { return gtk_window_is_active(GTK_WINDOW(mainWindow)) != FALSE; })) return 1;

  quillon::ApplicationWindow::showAlert(desktop.services, "Connection lost",
                                        "The remote computer closed the session. You can reconnect from the list of "
                                        "recent sessions at any time.",
                                        0);
  if (!waitUntil([&] { return !visibleAlerts().empty(); })) return 1;
  bool painted = false;
  GdkFrameClock* clock = gdk_window_get_frame_clock(gtk_widget_get_window(GTK_WIDGET(visibleAlerts()[0])));
  g_signal_connect(clock, "after-paint", G_CALLBACK(+[](GdkFrameClock*, bool* flag) { *flag = true; }), &painted);
  gtk_widget_queue_draw(GTK_WIDGET(visibleAlerts()[0]));
  if (!waitUntil([&] { return painted; })) return 1;

  const std::string command = std::string("import -window root ") + argv[1];
  gint status = 0;
  if (!g_spawn_command_line_sync(command.c_str(), nullptr, nullptr, &status, nullptr)) return 1;
  return g_spawn_check_wait_status(status, nullptr) ? 0 : 1;
}
