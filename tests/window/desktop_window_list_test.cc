// The X11 window list and getWindowRect against windows of another process
// and of the test's own, in points.
// gtest first: Xlib's None macro would break it.
#include "base/c_owner.h"
#include "tests/window/desktop_support.h"
#include "window/application_window.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <unistd.h>

namespace quillon {
namespace {

std::vector<WindowListEntry> windowsOf(WindowList& list, std::int64_t pid) {
  std::vector<WindowListEntry> own;
  for (const WindowListEntry& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
    if (entry.ownerProcessId == pid) own.push_back(entry);
  }
  return own;
}

std::vector<std::string> namesOf(const std::vector<WindowListEntry>& entries) {
  std::vector<std::string> names;
  for (const WindowListEntry& entry : entries) names.push_back(entry.name.value_or("<none>"));
  return names;
}

using DisplayPtr = COwner<Display, XCloseDisplay>;

// The client window with this exact name, found by xdotool (independently of
// the list under test).
Window clientNamed(const std::string& name) {
  g_autofree gchar* output = nullptr;
  const std::string command = "xdotool search --name '^" + name + "$'";
  if (!g_spawn_command_line_sync(command.c_str(), &output, nullptr, nullptr, nullptr) || output == nullptr) return 0;
  return std::strtoul(output, nullptr, 10);
}

// Whether the window manager has iconified the named client (ICCCM WM_STATE).
bool isIconified(const std::string& name) {
  const Window client = clientNamed(name);
  const DisplayPtr display(XOpenDisplay(nullptr));
  const Atom wmState = XInternAtom(display.get(), "WM_STATE", False);
  Atom type = None;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* data = nullptr;
  if (client == 0 || XGetWindowProperty(display.get(), client, wmState, 0, 2, False, wmState, &type, &format, &count,
                                        &after, &data) != Success || data == nullptr) {
    return false;
  }
  const bool iconic = format == 32 && count >= 1 && *reinterpret_cast<const long*>(data) == IconicState;
  XFree(data);
  return iconic;
}

bool sameBounds(const WindowBounds& listed, const WindowBounds& expected) {
  return listed.x == expected.x && listed.y == expected.y && listed.width == expected.width &&
         listed.height == expected.height;
}

class DesktopWindowListTest : public testing::DesktopTest {
 protected:
  // Whether the list shows each of `names` (and nothing else of `pid`) in this
  // order with the bounds of its top-level, in points.
  bool listsInOrder(pid_t pid, const std::vector<std::string>& names, std::vector<WindowListEntry>& entries) {
    entries = windowsOf(desktop.windowList, pid);
    if (namesOf(entries) != names) return false;
    for (const WindowListEntry& entry : entries) {
      const auto expected = testing::topLevelBounds(clientNamed(*entry.name), traits.scale);
      if (!expected || !entry.bounds || !sameBounds(*entry.bounds, *expected)) return false;
    }
    return true;
  }
};

// With a window manager that publishes its stacking list (openbox) and with
// ones that do not (xfwm4, Weston's XWayland manager, which frame each client):
// the client's pid and name, its frame's bounds in points.
TEST_F(DesktopWindowListTest, ListsAnotherProcessesWindowsFrontMostFirst) {
  // Only a window manager that minimises windows (_NET_WM_STATE_HIDDEN) can
  // show that a minimised window is left out.
  const bool minimises = traits.supports("_NET_WM_STATE_HIDDEN");
  std::vector<std::string> arguments{X11_TEST_CLIENT, "--false-pid", "Back window", "300x200+100+150",
                                     "--legacy-name", "Front window", "320x240+500+400"};
  if (minimises) arguments.insert(arguments.end(), {"--minimised", "Hidden window", "200x100+50+50"});
  testing::SpawnedProgram client(arguments);
  ASSERT_GT(client.pid(), 0);
  if (minimises) {
    ASSERT_TRUE(testing::waitUntil([] { return isIconified("Hidden window"); }));
  }
  std::vector<WindowListEntry> entries;
  EXPECT_TRUE(testing::waitUntil([&] {
    return listsInOrder(client.pid(), {"Front window", "Back window"}, entries);
  })) << ::testing::PrintToString(namesOf(entries)) << " on " << traits.windowManager;
  ASSERT_EQ(entries.size(), 2U);
  // Framed: larger than the client's own 320 x 240 device pixels.
  EXPECT_GT(*entries[0].bounds->width * traits.scale, 320.0);

  const auto rect = ApplicationWindow::getWindowRect(desktop.services, client.pid());
  ASSERT_TRUE(rect);
  const WindowBounds& front = *entries[0].bounds;
  EXPECT_EQ(*rect, (WindowRect{static_cast<std::int64_t>(*front.y), static_cast<std::int64_t>(*front.x),
                               static_cast<std::int64_t>(*front.y + *front.height),
                               static_cast<std::int64_t>(*front.x + *front.width)}));
  EXPECT_TRUE(desktop.diagnostics.lines.empty());
}

// The test's own window, in the points GTK places it in (its frame's
// top-left where it was asked to stand), whatever the scale: one unit for
// everything the host answers and acts on.
TEST_F(DesktopWindowListTest, TheHostsOwnWindowIsListedInPoints) {
  GtkWindow* window = openWindowAt("Host window", 100, 80, 400, 300);
  const Window xid = gdk_x11_window_get_xid(gtk_widget_get_window(GTK_WIDGET(window)));
  std::optional<WindowBounds> expected;
  std::vector<WindowListEntry> entries;
  EXPECT_TRUE(testing::waitUntil([&] {
    expected = testing::topLevelBounds(xid, traits.scale);
    entries = windowsOf(desktop.windowList, getpid());
    return expected && *expected->width > 400.0 && entries.size() == 1 && entries[0].bounds &&
           sameBounds(*entries[0].bounds, *expected);
  })) << "at scale " << traits.scale;
  ASSERT_TRUE(expected);
  // GTK's own idea of the frame: the same, but for GDK rounding the window
  // manager's device pixels up to whole points.
  GdkRectangle outer{};
  gdk_window_get_frame_extents(gtk_widget_get_window(GTK_WIDGET(window)), &outer);
  EXPECT_NEAR(*expected->x, outer.x, 0.5);
  EXPECT_NEAR(*expected->y, outer.y, 0.5);
  EXPECT_NEAR(*expected->width, outer.width, 1.0);
  EXPECT_NEAR(*expected->height, outer.height, 1.0);
  const auto whole = [](double value) { return static_cast<std::int64_t>(value); };
  EXPECT_EQ(ApplicationWindow::getWindowRect(desktop.services, getpid()),
            (WindowRect{whole(*expected->y), whole(*expected->x), whole(*expected->y + *expected->height),
                        whole(*expected->x + *expected->width)}));
}

TEST_F(DesktopWindowListTest, AProcessWithoutWindowsHasNoRect) {
  testing::SpawnedProgram sleeper({"/bin/sleep", "30"});
  EXPECT_EQ(ApplicationWindow::getWindowRect(desktop.services, sleeper.pid()), std::nullopt);
  EXPECT_TRUE(desktop.diagnostics.lines.empty());
}

// Without a window manager the list is the root's children, top-most first,
// each exactly where the client put it (no frame).
TEST(BareXServerTest, ListsTheRootsChildrenTopMostFirst) {
  // Xvfb picks a free display number itself and writes it to the pipe when ready.
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  testing::SpawnedProgram server({"/usr/bin/Xvfb", "-displayfd", std::to_string(ready[1]), "-screen", "0",
                                "800x600x24", "-nolisten", "tcp", "-noreset"});
  close(ready[1]);
  std::string number;
  char digit = 0;
  while (read(ready[0], &digit, 1) == 1 && digit != '\n') number += digit;
  close(ready[0]);
  ASSERT_FALSE(number.empty()) << "Xvfb did not start";
  const std::string display = ":" + number;
  const std::string previous = std::getenv("DISPLAY") != nullptr ? std::getenv("DISPLAY") : "";
  setenv("DISPLAY", display.c_str(), 1);
  {
    testing::SpawnedProgram client({X11_TEST_CLIENT, "Lower", "120x80+10+20", "Upper", "130x90+30+40"});
    X11WindowList list([] { return std::optional<int>(1); });  // the desktop's scale is not this server's
    std::vector<WindowListEntry> entries;
    EXPECT_TRUE(testing::waitUntil([&] { return (entries = windowsOf(list, client.pid())).size() == 2; }));
    ASSERT_EQ(namesOf(entries), (std::vector<std::string>{"Upper", "Lower"}));
    EXPECT_EQ(entries[0].bounds->x, 30.0);
    EXPECT_EQ(entries[0].bounds->y, 40.0);
    EXPECT_EQ(entries[0].bounds->width, 130.0);
    EXPECT_EQ(entries[0].bounds->height, 90.0);
  }
  if (previous.empty()) {
    unsetenv("DISPLAY");
  } else {
    setenv("DISPLAY", previous.c_str(), 1);
  }
}

}  // namespace
}  // namespace quillon
