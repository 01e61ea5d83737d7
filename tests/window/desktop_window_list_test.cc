// The X11 window list and getWindowRect against windows of another process.
// gtest first: Xlib's None macro would break it.
#include "tests/window/desktop_support.h"
#include "window/application_window.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <memory>

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

using DisplayPtr = std::unique_ptr<Display, decltype(&XCloseDisplay)>;

// The client window with this exact name, found by xdotool (independently of
// the list under test).
Window clientNamed(const std::string& name) {
  gchar* output = nullptr;
  const std::string command = "xdotool search --name '^" + name + "$'";
  if (!g_spawn_command_line_sync(command.c_str(), &output, nullptr, nullptr, nullptr) || output == nullptr) return 0;
  const Window client = std::strtoul(output, nullptr, 10);
  g_free(output);
  return client;
}

// The outer rectangle of the named client as the X server holds it: the
// geometry of the frame window that the window manager reparented it into.
std::optional<WindowBounds> frameGeometryOf(const std::string& name) {
  const Window client = clientNamed(name);
  const DisplayPtr display(XOpenDisplay(nullptr), &XCloseDisplay);
  Window root = None, parent = None, *children = nullptr;
  unsigned count = 0;
  if (client == 0 || XQueryTree(display.get(), client, &root, &parent, &children, &count) == 0) return std::nullopt;
  if (children != nullptr) XFree(children);
  int x = 0, y = 0;
  unsigned width = 0, height = 0, border = 0, depth = 0;
  XGetGeometry(display.get(), parent, &root, &x, &y, &width, &height, &border, &depth);
  return WindowBounds{x, y, width + 2 * border, height + 2 * border};
}

// Whether the window manager has iconified the named client (ICCCM WM_STATE).
bool isIconified(const std::string& name) {
  const Window client = clientNamed(name);
  const DisplayPtr display(XOpenDisplay(nullptr), &XCloseDisplay);
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

class DesktopWindowListTest : public testing::DesktopTest {};

TEST_F(DesktopWindowListTest, ListsAnotherProcessesWindowsFrontMostFirst) {
  testing::SpawnedProgram client({X11_TEST_CLIENT, "--false-pid", "Back window", "300x200+100+150", "--legacy-name",
                                "Front window", "320x240+500+400", "--minimised", "Hidden window", "200x100+50+50"});
  ASSERT_GT(client.pid(), 0);
  std::vector<WindowListEntry> entries;
  // Ready once both are framed (bounds larger than the client area).
  ASSERT_TRUE(testing::waitUntil([&] {
    entries = windowsOf(desktop.windowList, client.pid());
    return entries.size() == 2 && entries[0].bounds && entries[0].bounds->width > 320.0 && entries[1].bounds &&
           entries[1].bounds->width > 300.0;
  })) << ::testing::PrintToString(namesOf(entries));

  ASSERT_TRUE(testing::waitUntil([] { return isIconified("Hidden window"); }));
  entries = windowsOf(desktop.windowList, client.pid());
  EXPECT_EQ(namesOf(entries), (std::vector<std::string>{"Front window", "Back window"}));
  for (const WindowListEntry& entry : entries) {
    const auto expected = frameGeometryOf(*entry.name);
    ASSERT_TRUE(expected) << *entry.name;
    EXPECT_EQ(entry.bounds->x, expected->x) << *entry.name;
    EXPECT_EQ(entry.bounds->y, expected->y) << *entry.name;
    EXPECT_EQ(entry.bounds->width, expected->width) << *entry.name;
    EXPECT_EQ(entry.bounds->height, expected->height) << *entry.name;
  }
  EXPECT_EQ(entries[0].bounds->x, 500.0);
  EXPECT_EQ(entries[0].bounds->y, 400.0);

  const auto rect = ApplicationWindow::getWindowRect(desktop.services, client.pid());
  ASSERT_TRUE(rect);
  const WindowBounds& front = *entries[0].bounds;
  EXPECT_EQ(*rect, (WindowRect{400, 500, static_cast<std::int64_t>(*front.y + *front.height),
                               static_cast<std::int64_t>(*front.x + *front.width)}));
  EXPECT_TRUE(desktop.diagnostics.lines.empty());
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
    X11WindowList list;
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
