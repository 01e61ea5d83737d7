// The alert as a real GTK window on the X display.
// gtest first: Xlib's None macro would break it.
#include "tests/window/desktop_support.h"
#include "window/application_window.h"

#include <X11/Xatom.h>
#include <gdk/gdkx.h>
#include <unistd.h>

#include <algorithm>

namespace quillon {
namespace {

constexpr const char* kAlertTitle = "QUILLON Remote App";

std::vector<GtkWindow*> visibleAlerts() {
  std::vector<GtkWindow*> alerts;
  std::unique_ptr<GList, decltype(&g_list_free)> toplevels(gtk_window_list_toplevels(), &g_list_free);
  for (GList* item = toplevels.get(); item != nullptr; item = item->next) {
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
  std::unique_ptr<GList, decltype(&g_list_free)> children(gtk_container_get_children(GTK_CONTAINER(box)),
                                                          &g_list_free);
  return GTK_BUTTON(g_list_last(children.get())->data);
}

std::string labelText(GtkWindow* alert, guint index) {
  GtkWidget* box = gtk_bin_get_child(GTK_BIN(alert));
  std::unique_ptr<GList, decltype(&g_list_free)> children(gtk_container_get_children(GTK_CONTAINER(box)),
                                                          &g_list_free);
  return gtk_label_get_text(GTK_LABEL(g_list_nth_data(children.get(), index)));
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

class DesktopAlertTest : public testing::DesktopTest {};

TEST_F(DesktopAlertTest, AppearsOnTopWithItsTextsAndClosesByItself) {
  ApplicationWindow::showAlert(desktop.services, "Session ended", "The remote side closed the session.", 2);
  EXPECT_TRUE(visibleAlerts().empty());  // built on a later turn of the main loop

  ASSERT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList) == 1; }));
  const auto shown = std::chrono::steady_clock::now();
  const std::vector<GtkWindow*> alerts = visibleAlerts();
  ASSERT_EQ(alerts.size(), 1U);
  EXPECT_EQ(labelText(alerts[0], 0), "Session ended");
  EXPECT_EQ(labelText(alerts[0], 1), "The remote side closed the session.");
  std::vector<std::string> actions;
  EXPECT_TRUE(testing::waitUntil([&] { return allows(actions = allowedActions(alerts[0]), "_NET_WM_ACTION_CLOSE"); }));
  for (const char* refused : {"_NET_WM_ACTION_RESIZE", "_NET_WM_ACTION_MAXIMIZE_VERT"}) {
    EXPECT_FALSE(allows(actions, refused)) << refused << " in " << ::testing::PrintToString(actions);
  }
  // Motif hints: functions only (flag 1), and of them only move (4) and close
  // (32). openbox lets no hint take the minimise button away, others do.
  const std::vector<long> motif = longProperty(alerts[0], "_MOTIF_WM_HINTS", AnyPropertyType);
  ASSERT_GE(motif.size(), 2U);
  EXPECT_EQ(motif[0] & 1, 1);
  EXPECT_EQ(motif[1], 4 | 32);
  EXPECT_TRUE(testing::waitUntil([&] {
    return (gdk_window_get_state(gtk_widget_get_window(GTK_WIDGET(alerts[0]))) & GDK_WINDOW_STATE_ABOVE) != 0;
  }));
  GtkWidget* content = gtk_bin_get_child(GTK_BIN(alerts[0]));
  EXPECT_TRUE(testing::waitUntil([&] { return gtk_widget_get_allocated_width(content) == 400; }))
      << gtk_widget_get_allocated_width(content);

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
  gtk_window_close(alerts[0]);  // the title bar's close button
  EXPECT_TRUE(testing::waitUntil([&] { return listedAlerts(desktop.windowList) == 0; }));
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
