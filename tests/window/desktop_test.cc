// The real Linux desktop behind the window services, on whichever desktop
// scripts/with-desktop started (DISPLAY): the window list, showWindow and the
// screen metrics on each monitor, the alert as a real window. Each test asks
// the desktop what it offers and asserts what must hold there.
// gtest first: Xlib's None macro would break it.
#include <gtest/gtest.h>

#include "platform/linux/desktop/xcb_replies.h"
#include "tests/window/desktop_support.h"
#include "tests/window/own_x_server.h"
#include "window/application_window.h"

#include <X11/Xlib-xcb.h>
#include <X11/Xutil.h>
#include <unistd.h>

#include <map>
#include <set>
#include <thread>
#include <tuple>

namespace quillon::testing {
namespace {

// A format-32 property of `window` as the X server holds it, read over Xlib's
// XCB transport; nothing for a window gone meanwhile.
std::vector<std::uint32_t> property(Window window, const char* name) {
  xcb_connection_t* connection = XGetXCBConnection(gdk_x11_get_default_xdisplay());
  const auto atom = static_cast<xcb_atom_t>(gdk_x11_get_xatom_by_name(name));
  return items32(connection, askProperty(connection, static_cast<xcb_window_t>(window), atom, XCB_ATOM_ANY));
}

std::set<std::string> atomNames(Window window, const char* name) {
  std::set<std::string> names;
  for (const std::uint32_t atom : property(window, name)) names.emplace(gdk_x11_get_xatom_name(atom));
  return names;
}

GdkWindow* gdkOf(GtkWindow* window) { return gtk_widget_get_window(GTK_WIDGET(window)); }
Window numberOf(GtkWindow* window) { return gdk_x11_window_get_xid(gdkOf(window)); }

// The client window with this exact name, found by xdotool (independently of
// the list under test); 0 when there is none.
xcb_window_t clientNamed(const std::string& name) {
  g_autofree gchar* output = nullptr;
  const std::string command = "xdotool search --name '^" + name + "$'";
  if (!g_spawn_command_line_sync(command.c_str(), &output, nullptr, nullptr, nullptr) || output == nullptr) return 0;
  return static_cast<xcb_window_t>(std::strtoul(output, nullptr, 10));
}

// The window manager's frame around the client `window` in points: what the
// window list must report for it. Where the window manager says what it draws
// around the client (_NET_FRAME_EXTENTS), the client's area and those edges:
// mutter's frame window also holds borders it does not draw, to resize by.
// Elsewhere the root's child that holds the client (its frame, or itself).
std::optional<WindowBounds> frameBounds(xcb_window_t window, int scale) {
  xcb_connection_t* connection = XGetXCBConnection(gdk_x11_get_default_xdisplay());
  const double points = scale;
  const std::vector<std::uint32_t> extents = property(window, "_NET_FRAME_EXTENTS");  // left, right, top, bottom
  if (extents.size() == 4) {
    const auto client = answerTo(xcb_get_geometry_reply, connection, xcb_get_geometry(connection, window));
    const auto origin = client ? answerTo(xcb_translate_coordinates_reply, connection,
                                          xcb_translate_coordinates(connection, window, client->root, 0, 0))
                               : nullptr;
    if (!origin) return std::nullopt;
    const double left = extents[0], right = extents[1], top = extents[2], bottom = extents[3];
    return WindowBounds{(origin->dst_x - left) / points, (origin->dst_y - top) / points,
                        (client->width + left + right) / points, (client->height + top + bottom) / points};
  }
  for (;;) {
    const auto tree = answerTo(xcb_query_tree_reply, connection, xcb_query_tree(connection, window));
    if (!tree) return std::nullopt;
    if (tree->parent == tree->root) break;
    window = tree->parent;
  }
  const auto frame = answerTo(xcb_get_geometry_reply, connection, xcb_get_geometry(connection, window));
  if (!frame) return std::nullopt;
  // The list reads the origin inside the border, as XTranslateCoordinates does.
  const double border = frame->border_width;
  return WindowBounds{(frame->x + border) / points, (frame->y + border) / points, frame->width / points,
                      frame->height / points};
}

bool sameBounds(const WindowBounds& a, const WindowBounds& b) {
  return std::tie(a.x, a.y, a.width, a.height) == std::tie(b.x, b.y, b.width, b.height);
}

std::vector<std::string> namesOf(const std::vector<WindowListEntry>& entries) {
  std::vector<std::string> names;
  for (const WindowListEntry& entry : entries) names.push_back(entry.name.value_or("<none>"));
  return names;
}

// The alert's title, message and OK button, in that order.
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

// Fails the test unless there is an X display with GTK on it; reads what the
// desktop offers: the monitors, the device pixels per point and the window
// manager's name.
class DesktopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("DISPLAY"), nullptr) << "these tests need an X display (run them under scripts/with-desktop)";
    ASSERT_TRUE(gtkDesktopAvailable()) << "GTK could not open the display";
    monitors = gdk_display_get_n_monitors(gdk_display_get_default());
    scale = gdk_window_get_scale_factor(gdk_get_default_root_window());
    windowManager = gdk_x11_screen_get_window_manager_name(gdk_screen_get_default());
  }

  // Lets GTK process what is pending, then drops the test's windows.
  void TearDown() override {
    for (GtkWindow* window : windows) gtk_widget_destroy(GTK_WIDGET(window));
    serveMainLoop();
  }

  // Shows a window, at `x`, `y` (points, its frame's top-left) when given,
  // and waits until the list has it.
  GtkWindow* openWindow(const std::string& title, int width, int height, std::optional<std::pair<int, int>> at = {}) {
    GtkWindow* window = GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL));
    gtk_window_set_title(window, title.c_str());
    gtk_window_set_default_size(window, width, height);
    if (at) gtk_window_move(window, at->first, at->second);
    gtk_widget_show_all(GTK_WIDGET(window));
    windows.push_back(window);
    EXPECT_TRUE(waitUntil([&] { return listed(title); })) << title;
    return window;
  }

  // Whether the window manager gives `window` the keyboard. (A headless
  // Wayland compositor has no keyboard to give.)
  static bool becomesActive(GtkWindow* window) {
    return waitUntil([&] { return gtk_window_is_active(window) != FALSE; });
  }

  // Whether the window manager says it supports this hint (_NET_SUPPORTED).
  static bool supports(const char* hint) {
    return gdk_x11_screen_supports_net_wm_hint(gdk_screen_get_default(), gdk_atom_intern(hint, FALSE));
  }

  bool listed(const std::string& name) { return !windowsOf(desktop.windowList, getpid(), name).empty(); }
  std::vector<WindowListEntry> listedAlerts() { return windowsOf(desktop.windowList, getpid(), "QUILLON Remote App"); }

  bool show(GtkWindow* window, std::int64_t command) {
    return ApplicationWindow::showWindow(desktop.services, static_cast<std::int64_t>(numberOf(window)), command);
  }

  LinuxDesktop desktop;
  int monitors = 0;
  int scale = 1;
  std::string windowManager;
  std::vector<GtkWindow*> windows;  // the test's own
};

using DesktopWindowListTest = DesktopTest;
using DesktopHostWindowsTest = DesktopTest;
using DesktopAlertTest = DesktopTest;

// With window managers that publish their stacking list (openbox, mutter, KWin)
// and with ones that do not (xfwm4, Weston's XWayland manager, which frame each
// client): the client's pid (not its _NET_WM_PID) and name (_NET_WM_NAME or
// WM_NAME), its frame's bounds in points.
TEST_F(DesktopWindowListTest, ListsAnotherProcessesWindowsFrontMostFirst) {
  XClient client({"--false-pid", "Back window", "300x200+100+150", "--legacy-name", "Front window", "320x240+500+400"});
  ASSERT_TRUE(client.started());
  std::vector<WindowListEntry> entries;
  EXPECT_TRUE(waitUntil([&] {
    entries = windowsOf(desktop.windowList, client.pid());
    return namesOf(entries) == std::vector<std::string>{"Front window", "Back window"} &&
           std::all_of(entries.begin(), entries.end(), [&](const WindowListEntry& entry) {
             const auto expected = frameBounds(clientNamed(*entry.name), scale);
             return expected && entry.bounds && sameBounds(*entry.bounds, *expected);
           });
  })) << ::testing::PrintToString(namesOf(entries)) << " on " << windowManager;
  // Framed: higher than the client's own 240 device pixels by a title bar at least (mutter and KWin's Breeze
  // draw no side borders).
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_GT(*entries[0].bounds->height * scale, 240.0);
}

// Without a window manager the list is the root's children, top-most first,
// each exactly where the client put it (no frame); a WM_NAME in Latin-1 reads
// as UTF-8.
TEST(BareXServerTest, ListsTheRootsChildrenTopMostFirst) {
  OwnXServer server;
  const std::string display = server.name();
  ASSERT_FALSE(display.empty()) << "Xvfb did not start";
  const std::string desktopDisplay = std::getenv("DISPLAY");
  setenv("DISPLAY", display.c_str(), 1);
  std::vector<WindowListEntry> entries;
  {
    XClient client({"Lower", "120x80+10+20", "Upper", "130x90+30+40", "--legacy-name", "Caf\xE9", "50x50+60+70"});
    X11WindowList list([] { return std::optional<int>(1); });  // the desktop's scale is not this server's
    EXPECT_TRUE(waitUntil([&] { return (entries = windowsOf(list, client.pid())).size() == 3; }));
  }
  setenv("DISPLAY", desktopDisplay.c_str(), 1);
  ASSERT_EQ(namesOf(entries), (std::vector<std::string>{"Caf\u00E9", "Upper", "Lower"}));
  EXPECT_TRUE(sameBounds(*entries[1].bounds, WindowBounds{30.0, 40.0, 130.0, 90.0}));
}

// Hide and show, minimise (a minimised window is left out of the list) and
// restore where the window manager minimises; then showing takes the keyboard
// from another window, where the window manager gives any.
TEST_F(DesktopHostWindowsTest, HideShowMinimiseRestoreAndPresent) {
  GtkWindow* window = openWindow("Host window", 400, 300);
  const auto iconified = [&] { return (gdk_window_get_state(gdkOf(window)) & GDK_WINDOW_STATE_ICONIFIED) != 0; };
  const auto shown = [&] { return listed("Host window") && !iconified(); };
  EXPECT_TRUE(show(window, 0));
  EXPECT_TRUE(waitUntil([&] { return !listed("Host window"); }));
  EXPECT_TRUE(show(window, 1));
  EXPECT_TRUE(waitUntil(shown));
  if (supports("_NET_WM_STATE_HIDDEN")) {
    EXPECT_TRUE(show(window, 2));
    EXPECT_TRUE(waitUntil([&] { return !listed("Host window") && iconified(); }));
    EXPECT_TRUE(show(window, 9));
    EXPECT_TRUE(waitUntil(shown));
  }

  GtkWindow* other = openWindow("Other host window", 300, 200);
  if (!becomesActive(other)) GTEST_SKIP() << windowManager << " gives no window the keyboard";
  EXPECT_TRUE(show(window, 1));
  EXPECT_TRUE(becomesActive(window));
  if (!supports("_NET_WM_STATE_HIDDEN")) GTEST_SKIP() << windowManager << " does not minimise windows";
}

// On each monitor in turn, the last first (two on a desktop of two outputs),
// the screen metrics and maximising follow the monitor of the key window: the
// windows on the monitors before stay, so the key window is not the host's
// first one. Then, while another application has the keyboard (or none has,
// as under a compositor without a keyboard), the host's first window on the
// screen tells which monitor counts: the last, neither the primary nor the
// one the key window was on.
TEST_F(DesktopHostWindowsTest, ScreenMetricsAndMaximiseFollowTheKeyWindowsMonitorThenTheHostsFirstWindows) {
  GdkDisplay* display = gdk_display_get_default();
  for (int index = monitors - 1; index >= 0; --index) {
    SCOPED_TRACE("monitor " + std::to_string(index) + " of " + std::to_string(monitors));
    GdkRectangle monitor{};
    gdk_monitor_get_geometry(gdk_display_get_monitor(display, index), &monitor);
    GtkWindow* window = openWindow("Window on monitor " + std::to_string(index), 400, 300,
                                   {{monitor.x + 50, monitor.y + 50}});
    gtk_window_present_with_time(window, gdk_x11_get_server_time(gdkOf(window)));
    if (monitors > 1 && !becomesActive(window)) GTEST_SKIP() << windowManager << " gives no window the keyboard";
    if (gdk_display_get_monitor_at_window(display, gdkOf(window)) != gdk_display_get_monitor(display, index)) {
      GTEST_SKIP() << windowManager << " placed the window on another monitor than asked";
    }

    EXPECT_EQ(ApplicationWindow::getScreenBounds(desktop.services), (ScreenDimensions{monitor.width, monitor.height}));
    // No desktop here has panels or docks: the work area is the whole monitor.
    EXPECT_EQ(ApplicationWindow::getScreenWorkingAreaDimensions(desktop.services),
              (ScreenDimensions{monitor.width, monitor.height}));

    EXPECT_TRUE(show(window, 3));
    GdkRectangle outer{};
    // GDK rounds the window manager's device pixels up to whole points.
    EXPECT_TRUE(waitUntil([&] {
      gdk_window_get_frame_extents(gdkOf(window), &outer);
      return std::abs(outer.width - monitor.width) <= 1 && std::abs(outer.height - monitor.height) <= 1;
    })) << outer.width << "x" << outer.height << " for " << monitor.width << "x" << monitor.height;
  }

  XClient other({"Other application", "300x200+60+60"});
  const auto otherHasTheKeyboard = [&] {
    g_spawn_command_line_sync("xdotool search --name '^Other application$' windowactivate", nullptr, nullptr,
                              nullptr, nullptr);
    return std::none_of(windows.begin(), windows.end(), [](GtkWindow* window) {
      return gtk_window_is_active(window) != FALSE || gtk_window_has_toplevel_focus(window) != FALSE;
    });
  };
  if (!waitUntil(otherHasTheKeyboard)) {
    GTEST_SKIP() << windowManager << " did not give the keyboard to another application's window";
  }
  GdkRectangle last{};
  gdk_monitor_get_geometry(gdk_display_get_monitor(display, monitors - 1), &last);
  EXPECT_EQ(ApplicationWindow::getScreenBounds(desktop.services), (ScreenDimensions{last.width, last.height}));
}

// Centred over the key window in points, at any scale, where the window
// manager gives any window the keyboard (before it is shown the alert has no
// frame, so it ends up lower by half its title bar and to the right by half its
// side borders); its texts, the window manager's hints and 400 points of
// content; closed by itself, a second alert standing, closed by its close
// button.
TEST_F(DesktopAlertTest, AppearsCentredOnTopWithItsTextsAndClosesByItselfOrByItsCloseButton) {
  GtkWindow* key = openWindow("Host window", 800, 600, {{100, 100}});
  const bool keyActive = becomesActive(key);
  ApplicationWindow::showAlert(desktop.services, "Session ended", "The remote side closed the session.", 2);
  ASSERT_TRUE(waitUntil([&] { return listedAlerts().size() == 1; }));
  const auto shown = std::chrono::steady_clock::now();
  const WindowBounds alert = *listedAlerts()[0].bounds;
  EXPECT_GE(*alert.width, 400.0);  // its content and the window manager's frame
  EXPECT_LT(*alert.width, 480.0);
  if (keyActive) {
    GdkRectangle over{};
    gdk_window_get_frame_extents(gdkOf(key), &over);
    EXPECT_NEAR(*alert.x + *alert.width / 2, over.x + over.width / 2.0, (*alert.width - 400.0) / 2 + 1.0);
    const double verticalOffset = (*alert.y + *alert.height / 2) - (over.y + over.height / 2.0);
    EXPECT_GE(verticalOffset, -1.0);
    EXPECT_LE(verticalOffset, 40.0);  // half a title bar at most
  }
  const std::vector<GtkWindow*> alerts = visibleAlerts();
  ASSERT_EQ(alerts.size(), 1U);
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(child(alerts[0], 0))), "Session ended");
  EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(child(alerts[0], 1))), "The remote side closed the session.");
  // What a screen reader announces: an alert, by its title and message.
  AtkObject* accessible = gtk_widget_get_accessible(GTK_WIDGET(alerts[0]));
  EXPECT_EQ(atk_object_get_role(accessible), ATK_ROLE_ALERT);
  EXPECT_STREQ(atk_object_get_name(accessible), "Session ended");
  EXPECT_STREQ(atk_object_get_description(accessible), "The remote side closed the session.");
  // Motif hints: functions only (flag 1), and of them only move (4) and close
  // (32).
  const auto motif = property(numberOf(alerts[0]), "_MOTIF_WM_HINTS");
  ASSERT_GE(motif.size(), 2U);
  EXPECT_EQ(motif[0] & 1U, 1U);
  EXPECT_EQ(motif[1], 4U | 32U);
  // What the window manager makes of them, where it says (Weston's XWayland
  // manager publishes neither the actions nor the layers).
  if (supports("_NET_WM_ALLOWED_ACTIONS")) {
    std::set<std::string> actions;
    EXPECT_TRUE(waitUntil([&] {
      return (actions = atomNames(numberOf(alerts[0]), "_NET_WM_ALLOWED_ACTIONS")).contains("_NET_WM_ACTION_CLOSE");
    }));
    EXPECT_FALSE(actions.contains("_NET_WM_ACTION_RESIZE") || actions.contains("_NET_WM_ACTION_MAXIMIZE_VERT"))
        << ::testing::PrintToString(actions);
    // openbox and KWin let no Motif hint take the minimise button away, by design; mutter and xfwm4 do.
    EXPECT_EQ(actions.contains("_NET_WM_ACTION_MINIMIZE"), windowManager == "Openbox" || windowManager == "KWin")
        << windowManager;
  }
  if (supports("_NET_WM_STATE_ABOVE")) {
    EXPECT_TRUE(waitUntil([&] { return (gdk_window_get_state(gdkOf(alerts[0])) & GDK_WINDOW_STATE_ABOVE) != 0; }));
  }
  GtkWidget* content = gtk_bin_get_child(GTK_BIN(alerts[0]));
  EXPECT_TRUE(waitUntil([&] { return gtk_widget_get_allocated_width(content) == 400; }))
      << gtk_widget_get_allocated_width(content);

  // A second alert, without a timeout, stands after the first closes by itself; its close button closes it.
  ApplicationWindow::showAlert(desktop.services, "Second", "Two", 0);
  ASSERT_TRUE(waitUntil([&] {
    return listedAlerts().size() == 1 && visibleAlerts().size() == 1 &&
           g_strcmp0(gtk_label_get_text(GTK_LABEL(child(visibleAlerts()[0], 1))), "Two") == 0;
  }));
  EXPECT_GT(std::chrono::steady_clock::now() - shown, std::chrono::milliseconds(1500));
  pressCloseButton(numberOf(visibleAlerts()[0]));
  EXPECT_TRUE(waitUntil([&] { return listedAlerts().empty(); }));
}

// By keyboard, as GNOME's dialogs: Escape closes the alert, Return and space
// press its OK button; another key leaves it.
TEST_F(DesktopAlertTest, EscapeClosesItAndReturnOrSpacePressOk) {
  for (const char* key : {"Escape", "Return", "space"}) {
    SCOPED_TRACE(key);
    ApplicationWindow::showAlert(desktop.services, "By keyboard", key, 0);
    ASSERT_TRUE(waitUntil([&] { return visibleAlerts().size() == 1; }));
    GtkWindow* alert = visibleAlerts()[0];
    if (!becomesActive(alert)) GTEST_SKIP() << windowManager << " gives no window the keyboard";
    g_spawn_command_line_sync("xdotool key x", nullptr, nullptr, nullptr, nullptr);
    const std::function<bool()> closed = [] { return visibleAlerts().empty(); };
    EXPECT_FALSE(waitUntil(closed, std::chrono::milliseconds(300))) << "closed by another key";
    const std::string typed = std::string("xdotool key ") + key;
    g_spawn_command_line_sync(typed.c_str(), nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(waitUntil([&] { return visibleAlerts().empty() && listedAlerts().empty(); }));
  }
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

// OK, the close button and the timer all asking while the main loop is held
// (a slow command), the timer's turn served between them, or after the alert
// is gone: it closes once, the timer runs once, and nothing touches the window
// afterwards (before, OK then the timer queued two closes, and the close
// button's delete event, served first, freed the window they held). A freed
// window touched makes GLib's type checks complain ("invalid unclassed pointer
// in cast"), which AddressSanitizer alone may miss: any warning of GLib's
// objects, GTK or GDK ends the test.
TEST_F(DesktopAlertTest, ClosesOnceHoweverManyAsk) {
  // "due": the timer is due, not yet served; "timer": its turn is served.
  const std::vector<std::vector<std::string>> cases = {
      {"due", "OK", "timer", "close button"},
      {"due", "close button", "OK", "timer"},
      {"due", "timer", "close button"},
      {"due", "OK", "timer"},
      {"OK", "alert gone", "due", "timer"},
  };
  for (const char* domain : {"GLib-GObject", "Gtk", "Gdk"}) {
    g_log_set_fatal_mask(domain, static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
  }
  for (const auto& steps : cases) {
    SCOPED_TRACE(::testing::PrintToString(steps));
    const int timersBefore = desktop.mainQueue.delayedRun;
    ApplicationWindow::showAlert(desktop.services, "Asked to close", "Three ways", 1);
    ASSERT_TRUE(waitUntil([&] { return visibleAlerts().size() == 1; }));
    const auto shown = std::chrono::steady_clock::now();
    GtkWindow* alert = visibleAlerts()[0];
    GtkButton* ok = GTK_BUTTON(child(alert, 2));
    const Window number = numberOf(alert);
    const std::map<std::string, std::function<void()>> take{
        {"due", [&] { std::this_thread::sleep_until(shown + std::chrono::milliseconds(1100)); }},
        {"alert gone", [&] { EXPECT_TRUE(waitUntil([&] { return listedAlerts().empty(); })); }},
        {"OK", [&] { gtk_button_clicked(ok); }},
        // One turn: the due timer is the most urgent source; queued closes (idle sources) wait.
        {"timer", [] { g_main_context_iteration(nullptr, FALSE); }},
        {"close button", [&] { pressCloseButton(number); }},
    };
    for (const std::string& step : steps) take.at(step)();
    EXPECT_TRUE(waitUntil([&] {
      return desktop.mainQueue.delayedRun == timersBefore + 1 && listedAlerts().empty() && visibleAlerts().empty();
    }));
    // Whatever the requests left queued, in GLib or from the X server, is served before the next case.
    gdk_display_sync(gdk_display_get_default());
    serveMainLoop();
  }
}

}  // namespace
}  // namespace quillon::testing
