// The alert as a real GTK window on the X display.
// gtest first: Xlib's None macro would break it.
#include "tests/window/desktop_support.h"
#include "window/application_window.h"

#include <X11/Xatom.h>
#include <gdk/gdkx.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <thread>

namespace quillon {
namespace {

constexpr const char* kAlertTitle = "QUILLON Remote App";

std::vector<GtkWindow*> visibleAlerts() {
  std::vector<GtkWindow*> alerts;
  g_autoptr(GList) toplevels = gtk_window_list_toplevels();
  for (GList* item = toplevels; item != nullptr; item = item->next) {
    GtkWindow* window = GTK_WINDOW(item->data);
    if (g_strcmp0(gtk_window_get_title(window), kAlertTitle) == 0 && gtk_widget_get_mapped(GTK_WIDGET(window))) {
      alerts.push_back(window);
    }
  }
  return alerts;
}

std::size_t listedAlerts(WindowList& list) {
  std::size_t count = 0;
  for (const WindowListEntry& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
    if (entry.ownerProcessId == getpid() && entry.name == kAlertTitle) ++count;
  }
  return count;
}

GtkButton* okButtonOf(GtkWindow* alert) {
  GtkWidget* box = gtk_bin_get_child(GTK_BIN(alert));
  g_autoptr(GList) children = gtk_container_get_children(GTK_CONTAINER(box));
  return GTK_BUTTON(g_list_last(children)->data);
}

std::string labelText(GtkWindow* alert, guint index) {
  GtkWidget* box = gtk_bin_get_child(GTK_BIN(alert));
  g_autoptr(GList) children = gtk_container_get_children(GTK_CONTAINER(box));
  return gtk_label_get_text(GTK_LABEL(g_list_nth_data(children, index)));
}

// A property of format 32 on the alert's X window, as longs.
std::vector<long> longProperty(GtkWindow* window, const char* name, Atom type) {
  Display* display = gdk_x11_get_default_xdisplay();
  Atom actualType = 0;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(display, gdk_x11_window_get_xid(gtk_widget_get_window(GTK_WIDGET(window))),
                         XInternAtom(display, name, False), 0, 64, False, type, &actualType, &format, &count, &after,
                         &data) != Success || data == nullptr) {
    return {};
  }
  const long* items = reinterpret_cast<const long*>(data);
  std::vector<long> values(items, items + (format == 32 ? count : 0));
  XFree(data);
  return values;
}

// The actions that the window manager offers on the window.
std::vector<std::string> allowedActions(GtkWindow* window) {
  std::vector<std::string> actions;
  for (long atom : longProperty(window, "_NET_WM_ALLOWED_ACTIONS", XA_ATOM)) {
    char* name = XGetAtomName(gdk_x11_get_default_xdisplay(), static_cast<Atom>(atom));
    actions.emplace_back(name);
    XFree(name);
  }
  return actions;
}

bool allows(const std::vector<std::string>& actions, const std::string& action) {
  return std::find(actions.begin(), actions.end(), action) != actions.end();
}

Window numberOf(GtkWindow* window) { return gdk_x11_window_get_xid(gtk_widget_get_window(GTK_WIDGET(window))); }

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

// The bounds of the one alert in the list.
std::optional<WindowBounds> listedAlertBounds(WindowList& list) {
  for (const WindowListEntry& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
    if (entry.ownerProcessId == getpid() && entry.name == kAlertTitle) return entry.bounds;
  }
  return std::nullopt;
}

// Counts what GLib's and GTK's checks say while it lives: a cast of a window
// already finalized ("invalid unclassed pointer") is a window touched after
// it was freed, which AddressSanitizer alone may miss behind GLib's allocator.
class ToolkitComplaints {
 public:
  ToolkitComplaints() {
    for (const char* domain : kDomains) {
      handlers_.push_back(g_log_set_handler(domain, kLevels, &ToolkitComplaints::count, &count_));
    }
  }
  ~ToolkitComplaints() {
    for (std::size_t index = 0; index < handlers_.size(); ++index) {
      g_log_remove_handler(kDomains[index], handlers_[index]);
    }
  }
  ToolkitComplaints(const ToolkitComplaints&) = delete;
  ToolkitComplaints& operator=(const ToolkitComplaints&) = delete;

  int count() const { return count_; }

 private:
  static constexpr const char* kDomains[] = {"GLib-GObject", "Gtk", "Gdk"};
  static constexpr auto kLevels = static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL);
  static void count(const gchar*, GLogLevelFlags, const gchar*, gpointer counter) { ++*static_cast<int*>(counter); }

  int count_ = 0;
  std::vector<guint> handlers_;
};

class DesktopAlertTest : public testing::DesktopTest {
 protected:
  // The alert's whole width in points: its 400 points of content and the
  // window manager's frame, at any scale.
  static void expectAlertWidthInPoints(const WindowBounds& alert) {
    EXPECT_GE(*alert.width, 400.0);
    EXPECT_LT(*alert.width, 480.0);
  }
};

TEST_F(DesktopAlertTest, AppearsOnTopWithItsTextsAndClosesByItself) {
  ApplicationWindow::showAlert(desktop.services, "Session ended", "The remote side closed the session.", 2);
  EXPECT_TRUE(visibleAlerts().empty());  // built on a later turn of the main loop

  ASSERT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList) == 1; }));
  const auto shown = std::chrono::steady_clock::now();
  const std::vector<GtkWindow*> alerts = visibleAlerts();
  ASSERT_EQ(alerts.size(), 1U);
  EXPECT_EQ(labelText(alerts[0], 0), "Session ended");
  EXPECT_EQ(labelText(alerts[0], 1), "The remote side closed the session.");
  // Motif hints: functions only (flag 1), and of them only move (4) and close
  // (32).
  const std::vector<long> motif = longProperty(alerts[0], "_MOTIF_WM_HINTS", AnyPropertyType);
  ASSERT_GE(motif.size(), 2U);
  EXPECT_EQ(motif[0] & 1, 1);
  EXPECT_EQ(motif[1], 4 | 32);
  // What the window manager makes of them, where it says (Weston's XWayland
  // manager publishes neither the actions nor the layers).
  if (traits.supports("_NET_WM_ALLOWED_ACTIONS")) {
    std::vector<std::string> actions;
    EXPECT_TRUE(
        testing::waitUntil([&] { return allows(actions = allowedActions(alerts[0]), "_NET_WM_ACTION_CLOSE"); }));
    std::vector<std::string> refused{"_NET_WM_ACTION_RESIZE", "_NET_WM_ACTION_MAXIMIZE_VERT"};
    // openbox lets no hint take the minimise button away, by design; others do.
    if (traits.windowManager != "Openbox") refused.emplace_back("_NET_WM_ACTION_MINIMIZE");
    for (const std::string& action : refused) {
      EXPECT_FALSE(allows(actions, action)) << action << " in " << ::testing::PrintToString(actions);
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
  const auto bounds = listedAlertBounds(desktop.windowList);
  ASSERT_TRUE(bounds);
  expectAlertWidthInPoints(*bounds);

  ASSERT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList) == 0; }));
  const auto lasted = std::chrono::steady_clock::now() - shown;
  EXPECT_GT(lasted, std::chrono::milliseconds(1500));
}

TEST_F(DesktopAlertTest, TwoAlertsStandIndependentlyAndOkClosesOne) {
  ApplicationWindow::showAlert(desktop.services, "First", "One", 0);
  ApplicationWindow::showAlert(desktop.services, "Second", "Two", 0);
  ASSERT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList) == 2; }));

  std::vector<GtkWindow*> alerts = visibleAlerts();
  ASSERT_EQ(alerts.size(), 2U);
  gtk_button_clicked(okButtonOf(alerts[0]));
  ASSERT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList) == 1; }));
  alerts = visibleAlerts();
  ASSERT_EQ(alerts.size(), 1U);
  pressCloseButton(numberOf(alerts[0]));
  EXPECT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList) == 0; }));
}

// Centred over the key window in points, at any scale. Before it is shown the
// alert has no frame, so it ends up lower by half its title bar and to the
// right by half its side borders.
TEST_F(DesktopAlertTest, CentredOverTheKeyWindow) {
  GtkWindow* key = openWindowAt("Host window", 100, 100, 800, 600);
  if (!becomesActive(key)) GTEST_SKIP() << traits.windowManager << " gives no window the keyboard";
  const Window keyNumber = numberOf(key);
  ApplicationWindow::showAlert(desktop.services, "Centred", "Over the key window.", 0);
  std::optional<WindowBounds> alert;
  ASSERT_TRUE(testing::waitUntil([&] { return (alert = listedAlertBounds(desktop.windowList)).has_value(); }));
  const auto keyBounds = testing::topLevelBounds(keyNumber, traits.scale);
  ASSERT_TRUE(keyBounds);
  expectAlertWidthInPoints(*alert);
  const double borders = *alert->width - 400.0;
  EXPECT_NEAR(*alert->x + *alert->width / 2, *keyBounds->x + *keyBounds->width / 2, borders / 2 + 0.5);
  const double verticalOffset = (*alert->y + *alert->height / 2) - (*keyBounds->y + *keyBounds->height / 2);
  EXPECT_GE(verticalOffset, -1.0);
  EXPECT_LE(verticalOffset, 40.0);  // half a title bar at most
}

// OK, the title bar's close button and the automatic close all asking while
// the main loop is held (a slow command), the timer's turn served between
// them: the alert closes once and nothing touches it afterwards
// (GLib's type checks and AddressSanitizer watch). Before, OK then the timer
// queued two closes, and the close button's delete event, served first, freed
// the window they held.
TEST_F(DesktopAlertTest, ClosesOnceHoweverManyAskInOneTurn) {
  enum class Step { ok, timer, closeButton };
  struct Case {
    const char* who;
    std::vector<Step> steps;
  };
  const std::vector<Case> cases = {
      {"OK, timer, close button", {Step::ok, Step::timer, Step::closeButton}},
      {"close button, OK, timer", {Step::closeButton, Step::ok, Step::timer}},
      {"timer, close button", {Step::timer, Step::closeButton}},
      {"OK, timer", {Step::ok, Step::timer}},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.who);
    const ToolkitComplaints complaints;
    ApplicationWindow::showAlert(desktop.services, "Asked to close", test.who, 1);
    ASSERT_TRUE(testing::waitUntil([&] { return visibleAlerts().size() == 1; }));
    GtkWindow* alert = visibleAlerts()[0];
    GtkButton* ok = okButtonOf(alert);
    const Window number = numberOf(alert);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));  // the timer is due, not yet served
    for (const Step step : test.steps) {
      switch (step) {
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
    EXPECT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList) == 0 && visibleAlerts().empty(); }));
    const auto settled = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    testing::waitUntil([&] { return std::chrono::steady_clock::now() > settled; });
    EXPECT_EQ(complaints.count(), 0);
  }
}

TEST_F(DesktopAlertTest, TheTimerLeavesAnAlertClosedByTheUserAlone) {
  ApplicationWindow::showAlert(desktop.services, "Closed early", "By the user.", 1);
  ASSERT_TRUE(testing::waitUntil([&] { return visibleAlerts().size() == 1; }));
  gtk_button_clicked(okButtonOf(visibleAlerts()[0]));
  ASSERT_TRUE(testing::waitUntil([&] { return visibleAlerts().empty(); }));
  // Past the timeout: the timer finds no window and does nothing (a freed window
  // touched here would show under AddressSanitizer).
  const auto after = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);
  testing::waitUntil([&] { return std::chrono::steady_clock::now() > after; });
  EXPECT_TRUE(visibleAlerts().empty());
}

}  // namespace
}  // namespace quillon
