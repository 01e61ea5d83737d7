// The X11 window list and getWindowRect against windows of another process
// and of the test's own, in points.
// gtest first: Xlib's None macro would break it.
#include "tests/window/desktop_support.h"
#include "tests/window/own_x_server.h"
#include "window/application_window.h"

#include <X11/Xutil.h>
#include <unistd.h>

namespace quillon {
namespace {

using testing::sameBounds;

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

class DesktopWindowListTest : public testing::DesktopTest {
 protected:
  // Whether the list shows each of `names` (and nothing else of `pid`) in this
  // order with the bounds of its top-level, in points.
  bool listsInOrder(pid_t pid, const std::vector<std::string>& names, std::vector<WindowListEntry>& entries) {
    entries = windowsOf(desktop.windowList, pid);
    if (namesOf(entries) != names) return false;
    for (const WindowListEntry& entry : entries) {
      const auto expected = testing::topLevelBounds(testing::clientNamed(*entry.name), traits.scale);
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
  std::vector<std::string> windows{"--false-pid", "Back window", "300x200+100+150",
                                   "--legacy-name", "Front window", "320x240+500+400"};
  if (minimises) windows.insert(windows.end(), {"--minimised", "Hidden window", "200x100+50+50"});
  testing::XClient client(windows);
  ASSERT_TRUE(client.started());
  if (minimises) {
    // ICCCM's WM_STATE on the client says the window manager has iconified it.
    ASSERT_TRUE(testing::waitUntil([] {
      const auto state = testing::property<long>(testing::clientNamed("Hidden window"), "WM_STATE");
      return !state.empty() && state[0] == IconicState;
    }));
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
  GtkWindow* window = openWindow("Host window", 400, 300, {{100, 80}});
  std::optional<WindowBounds> expected;
  std::vector<WindowListEntry> entries;
  EXPECT_TRUE(testing::waitUntil([&] {
    expected = testing::topLevelBounds(testing::numberOf(window), traits.scale);
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

// Without a window manager the list is the root's children, top-most first,
// each exactly where the client put it (no frame).
TEST(BareXServerTest, ListsTheRootsChildrenTopMostFirst) {
  testing::OwnXServer server;
  const std::string display = server.name();
  ASSERT_FALSE(display.empty()) << "Xvfb did not start";
  const std::string previous = std::getenv("DISPLAY") != nullptr ? std::getenv("DISPLAY") : "";
  setenv("DISPLAY", display.c_str(), 1);
  {
    testing::XClient client({"Lower", "120x80+10+20", "Upper", "130x90+30+40"});
    X11WindowList list([] { return std::optional<int>(1); });  // the desktop's scale is not this server's
    std::vector<WindowListEntry> entries;
    EXPECT_TRUE(testing::waitUntil([&] { return (entries = windowsOf(list, client.pid())).size() == 2; }));
    ASSERT_EQ(namesOf(entries), (std::vector<std::string>{"Upper", "Lower"}));
    EXPECT_TRUE(sameBounds(*entries[0].bounds, WindowBounds{30.0, 40.0, 130.0, 90.0}));
  }
  setenv("DISPLAY", previous.c_str(), 1);
}

}  // namespace
}  // namespace quillon
