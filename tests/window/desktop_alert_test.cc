// The alert as a real GTK window on the X display.
// gtest first: Xlib's None macro would break it.
#include "tests/window/desktop_support.h"
#include "window/application_window.h"

#include <unistd.h>

namespace quillon {
namespace {

using testing::visibleAlerts;

// The bounds of each alert in the list.
std::vector<WindowBounds> listedAlerts(WindowList& list) {
  std::vector<WindowBounds> alerts;
  for (const WindowListEntry& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
    if (entry.ownerProcessId == getpid() && entry.name == "QUILLON Remote App") alerts.push_back(*entry.bounds);
  }
  return alerts;
}

GtkWidget* child(GtkWindow* alert, guint index) {
  g_autoptr(GList) children = gtk_container_get_children(GTK_CONTAINER(gtk_bin_get_child(GTK_BIN(alert))));
  return GTK_WIDGET(g_list_nth_data(children, index));
}

// What the window manager sends when its close button is pressed: the ICCCM
// WM_DELETE_WINDOW message, which GDK turns into a delete event. Sent on GDK's
// own connection and synchronised, it waits in GDK's queue when this returns;
// a window gone meanwhile makes an X error, which is ignored.
void pressCloseButton(Window window) {
  Display* display = gdk_x11_get_default_xdisplay();
  XEvent message{};
  message.xclient.type = ClientMessage;
  message.xclient.window = window;
  message.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
  message.xclient.format = 32;
  message.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
  message.xclient.data.l[1] = CurrentTime;
  gdk_x11_display_error_trap_push(gdk_display_get_default());
  XSendEvent(display, message.xclient.window, False, NoEventMask, &message);
  XSync(display, False);
  gdk_x11_display_error_trap_pop_ignored(gdk_display_get_default());
}

using DesktopAlertTest = testing::DesktopTest;

// Its whole width in points: its 400 points of content and the window
// manager's frame, at any scale.
void expectAlertWidthInPoints(const WindowBounds& alert) {
  EXPECT_GE(*alert.width, 400.0);
  EXPECT_LT(*alert.width, 480.0);
}

TEST_F(DesktopAlertTest, AppearsOnTopWithItsTextsAndClosesByItselfOrByItsCloseButton) {
  ApplicationWindow::showAlert(desktop.services, "Session ended", "The remote side closed the session.", 2);
  EXPECT_TRUE(visibleAlerts().empty());  // built on a later turn of the main loop

  ASSERT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList).size() == 1; }));
  const auto shown = std::chrono::steady_clock::now();
  const std::vector<GtkWindow*> alerts = visibleAlerts();
  ASSERT_EQ(alerts.size(), 1U);
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(child(alerts[0], 0))), "Session ended");
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(child(alerts[0], 1))), "The remote side closed the session.");
  // Motif hints: functions only (flag 1), and of them only move (4) and close
  // (32).
  const auto motif = testing::property<long>(testing::numberOf(alerts[0]), "_MOTIF_WM_HINTS");
  ASSERT_GE(motif.size(), 2U);
  EXPECT_EQ(motif[0] & 1, 1);
  EXPECT_EQ(motif[1], 4 | 32);
  // What the window manager makes of them, where it says (Weston's XWayland
  // manager publishes neither the actions nor the layers).
  if (traits.supports("_NET_WM_ALLOWED_ACTIONS")) {
    std::vector<std::string> actions;
    EXPECT_TRUE(testing::waitUntil([&] {
      actions = testing::atomNames(testing::property<long>(testing::numberOf(alerts[0]), "_NET_WM_ALLOWED_ACTIONS"));
      return testing::contains(actions, "_NET_WM_ACTION_CLOSE");
    }));
    std::vector<std::string> refused{"_NET_WM_ACTION_RESIZE", "_NET_WM_ACTION_MAXIMIZE_VERT"};
    // openbox lets no hint take the minimise button away, by design; others do.
    if (traits.windowManager != "Openbox") refused.emplace_back("_NET_WM_ACTION_MINIMIZE");
    for (const std::string& action : refused) {
      EXPECT_FALSE(testing::contains(actions, action)) << action << " in " << ::testing::PrintToString(actions);
    }
  }
  if (traits.supports("_NET_WM_STATE_ABOVE")) {
    EXPECT_TRUE(testing::waitUntil([&] {
      return (gdk_window_get_state(gtk_widget_get_window(GTK_WIDGET(alerts[0]))) & GDK_WINDOW_STATE_ABOVE) != 0;
    }));
  }
  GtkWidget* content = gtk_bin_get_child(GTK_BIN(alerts[0]));
  EXPECT_TRUE(testing::waitUntil([&] { return gtk_widget_get_allocated_width(content) == 400; }))
      << gtk_widget_get_allocated_width(content);
  expectAlertWidthInPoints(listedAlerts(desktop.windowList).at(0));

  // A second alert, without a timeout, stands after the first closes by itself; its close button closes it.
  ApplicationWindow::showAlert(desktop.services, "Second", "Two", 0);
  ASSERT_TRUE(testing::waitUntil([&] {
    return listedAlerts(desktop.windowList).size() == 1 && visibleAlerts().size() == 1 &&
           g_strcmp0(gtk_label_get_text(GTK_LABEL(child(visibleAlerts()[0], 1))), "Two") == 0;
  }));
  EXPECT_GT(std::chrono::steady_clock::now() - shown, std::chrono::milliseconds(1500));
  pressCloseButton(testing::numberOf(visibleAlerts()[0]));
  EXPECT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList).empty(); }));
}

// The texts are measured word-wrapped, in the desktop's font at the size asked.
TEST_F(DesktopAlertTest, TextIsMeasuredWrappedAtTheSizeAsked) {
  const SystemFont font{13.0, FontWeight::regular};
  const double oneLine = desktop.textMeasurer.heightOf("Short", 360.0, font);
  EXPECT_GT(oneLine, 10.0);
  EXPECT_LT(oneLine, 30.0);
  std::string words;
  for (int index = 0; index < 60; ++index) words += "word ";
  EXPECT_GT(desktop.textMeasurer.heightOf(words, 360.0, font), 2.5 * oneLine);
  EXPECT_GT(desktop.textMeasurer.heightOf(std::string(40, 'x'), 40.0, font), 2.5 * oneLine);  // a long word breaks
  EXPECT_GT(desktop.textMeasurer.heightOf("Short", 360.0, SystemFont{26.0, FontWeight::regular}), 1.5 * oneLine);
}

// Centred over the key window in points, at any scale. Before it is shown the
// alert has no frame, so it ends up lower by half its title bar and to the
// right by half its side borders.
TEST_F(DesktopAlertTest, CentredOverTheKeyWindow) {
  GtkWindow* key = openWindow("Host window", 800, 600, {{100, 100}});
  if (!becomesActive(key)) GTEST_SKIP() << traits.windowManager << " gives no window the keyboard";
  ApplicationWindow::showAlert(desktop.services, "Centred", "Over the key window.", 0);
  std::vector<WindowBounds> alerts;
  ASSERT_TRUE(testing::waitUntil([&] { return !(alerts = listedAlerts(desktop.windowList)).empty(); }));
  const auto keyBounds = testing::topLevelBounds(testing::numberOf(key), traits.scale);
  ASSERT_TRUE(keyBounds);
  const WindowBounds& alert = alerts[0];
  expectAlertWidthInPoints(alert);
  const double borders = *alert.width - 400.0;
  EXPECT_NEAR(*alert.x + *alert.width / 2, *keyBounds->x + *keyBounds->width / 2, borders / 2 + 0.5);
  const double verticalOffset = (*alert.y + *alert.height / 2) - (*keyBounds->y + *keyBounds->height / 2);
  EXPECT_GE(verticalOffset, -1.0);
  EXPECT_LE(verticalOffset, 40.0);  // half a title bar at most
}

// OK, the title bar's close button and the automatic close all asking, the
// timer's turn served between them while the main loop is held (a slow
// command), or after the alert is gone: it closes once, the timer runs once,
// and nothing touches the window afterwards. Before, OK then the timer queued
// two closes, and the close button's delete event, served first, freed the
// window they held. A window touched after it was freed makes GLib's type
// checks complain ("invalid unclassed pointer in cast"), which
// AddressSanitizer alone may miss behind GLib's allocator: here any warning of
// GLib's objects, GTK or GDK ends the test.
TEST_F(DesktopAlertTest, ClosesOnceHoweverManyAsk) {
  enum class Step { due, gone, ok, timer, closeButton };
  struct Case {
    const char* who;
    std::vector<Step> steps;
  };
  const std::vector<Case> cases = {
      {"OK, timer, close button", {Step::due, Step::ok, Step::timer, Step::closeButton}},
      {"close button, OK, timer", {Step::due, Step::closeButton, Step::ok, Step::timer}},
      {"timer, close button", {Step::due, Step::timer, Step::closeButton}},
      {"OK, timer", {Step::due, Step::ok, Step::timer}},
      {"OK; the timer once the alert is gone", {Step::ok, Step::gone, Step::due, Step::timer}},
  };
  for (const char* domain : {"GLib-GObject", "Gtk", "Gdk"}) {
    g_log_set_fatal_mask(domain, static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
  }
  for (const Case& test : cases) {
    SCOPED_TRACE(test.who);
    const int timersBefore = desktop.mainQueue.delayedRun;
    ApplicationWindow::showAlert(desktop.services, "Asked to close", test.who, 1);
    ASSERT_TRUE(testing::waitUntil([&] { return visibleAlerts().size() == 1; }));
    const auto shown = std::chrono::steady_clock::now();
    GtkWindow* alert = visibleAlerts()[0];
    GtkButton* ok = GTK_BUTTON(child(alert, 2));
    const Window number = testing::numberOf(alert);
    for (const Step step : test.steps) {
      switch (step) {
        case Step::due:  // the timer is due, not yet served
          std::this_thread::sleep_until(shown + std::chrono::milliseconds(1100));
          break;
        case Step::gone:
          ASSERT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList).empty(); }));
          break;
        case Step::ok:
          gtk_button_clicked(ok);
          break;
        case Step::timer:
          // One turn: the due timer is the most urgent source; queued closes
          // (idle sources) wait.
          g_main_context_iteration(nullptr, FALSE);
          break;
        case Step::closeButton:
          pressCloseButton(number);
          break;
      }
    }
    EXPECT_TRUE(testing::waitUntil([&] {
      return desktop.mainQueue.delayedRun == timersBefore + 1 && listedAlerts(desktop.windowList).empty() &&
             visibleAlerts().empty();
    }));
    // Whatever the requests left queued, in GLib or from the X server, is served before the next case.
    gdk_display_sync(gdk_display_get_default());
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
  }
}

}  // namespace
}  // namespace quillon
