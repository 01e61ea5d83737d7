// The built host on the test's X desktop (a window manager running), driven
// over the link and through the desktop as a user would. What the desktop
// cannot do (move other clients' windows, give a window the keyboard) is asked
// of the desktop itself, and the test says what it skips.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <thread>
#include <vector>

#include "app/application.h"
#include "app/main_window_description.h"
#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

constexpr const char* kWindowChannel = "bitsdojo/window";

// Polls `probe` until it answers `expected` or the time is up; answers the last value seen.
template <typename Probe>
std::string settled(Probe probe, const std::string& expected, std::chrono::milliseconds time = 10s) {
  std::string value;
  waitUntil([&] { return (value = probe()) == expected; }, time);
  return value;
}

// Device pixels per point: the desktop's scale for GTK applications (as GNOME
// sets it on a HiDPI panel).
std::int64_t scaleFactor() {
  const char* scale = std::getenv("GDK_SCALE");
  return scale != nullptr && std::atoi(scale) > 0 ? std::atoi(scale) : 1;
}

// Points as the X server counts them, in device pixels, joined by spaces.
std::string pixels(std::initializer_list<std::int64_t> points) {
  std::string text;
  for (const std::int64_t point : points) {
    if (!text.empty()) text += ' ';
    text += std::to_string(point * scaleFactor());
  }
  return text;
}

// A monitor as RandR lays it out on the X screen, device pixels.
struct Monitor {
  std::int64_t x = 0, y = 0, width = 0, height = 0;
  bool operator==(const Monitor&) const = default;
  bool holds(std::int64_t pointX, std::int64_t pointY) const {
    return pointX >= x && pointX < x + width && pointY >= y && pointY < y + height;
  }
};

// The answer of a screen command as the interface reads it.
std::string screenSize(std::int64_t width, std::int64_t height) {
  return "{\"width\": " + std::to_string(width) + ", \"height\": " + std::to_string(height) + "}";
}

class DesktopHostTest : public CatalogueEndToEndTest {
 protected:
  void SetUp() override {
    const char* display = std::getenv("DISPLAY");
    ASSERT_TRUE(display != nullptr && *display != '\0') << "these tests need an X display (scripts/with-desktop)";
    CatalogueEndToEndTest::SetUp();
  }

  // The output of a desktop tool, without its last line end.
  std::string tool(const std::string& command) const {
    std::string output = runTool("/bin/sh", {"-c", command}, {}, host_.directory()).output;
    return output.ends_with('\n') ? output.substr(0, output.size() - 1) : output;
  }

  // The host's visible window ids, one a line; empty while none is shown.
  std::string visibleWindow() const { return tool("xdotool search --onlyvisible --pid " + std::to_string(host_.pid())); }

  std::string showMainWindow() {
    EXPECT_EQ(callHost(*client_, kWindowChannel, "showWindow"), ChannelReply::success());
    std::string window;
    EXPECT_TRUE(waitUntil([&] { return !(window = visibleWindow()).empty(); }, 10s));
    return window;
  }

  ChannelReply windowPlugin(const char* method) { return callHost(*client_, kWindowChannel, method); }

  // The main window's number from the window plug-in, as xdotool prints it.
  std::string handle() {
    const ChannelReply reply = windowPlugin("getAppWindowHandle");
    return reply.isSuccess() ? std::to_string(reply.value().asInteger().value_or(0)) : "none";
  }

  ChannelReply showWindow(const std::string& window, std::int64_t command) {
    const ChannelValue arguments = argumentMap({{"windowHandle", std::int64_t{std::stoll(window)}}, {"command", command}});
    return callHost(*client_, kNativeCommandChannel, "window::showWindow", arguments);
  }

  // "x y" or "x y width height" of the window's own area on the screen, device pixels.
  std::string geometry(const std::string& window, bool withSize = true) {
    return tool("xwininfo -id " + window +
                " | awk '/Absolute upper-left X/{x=$4} /Absolute upper-left Y/{y=$4} /Width:/{w=$2} "
                "/Height:/{h=$2} END{print x, y" + (withSize ? ", w, h" : "") + "}'");
  }

  // Moves the window as a window manager or a pager would, to (x, y) points;
  // whether it got there (a window manager may refuse other clients' moves).
  bool movedTo(const std::string& window, std::int64_t x, std::int64_t y) {
    tool("xdotool windowmove " + window + " " + pixels({x, y}));
    return settled([&] { return geometry(window, false); }, pixels({x, y}), 5s) == pixels({x, y});
  }

  // Whether the window manager says it supports this hint (_NET_SUPPORTED).
  bool supports(const std::string& hint) const {
    return (tool("xprop -root _NET_SUPPORTED") + ",").find(" " + hint + ",") != std::string::npos;
  }

  // The root's child that holds the window: the window manager's frame around it, or the window itself.
  std::string frameOf(const std::string& window) const {
    return tool("w=" + window + "; while p=$(xwininfo -tree -id $w | sed -n '/Parent window id/{/(the root window)/!"
                "s/.*id: \\(0x[0-9a-f]*\\).*/\\1/p}'); [ -n \"$p\" ]; do w=$p; done; echo $w");
  }

  // The desktop's monitors, from xrandr (independently of GDK, which the host asks).
  std::vector<Monitor> monitors() const {
    // " 1: +DUMMY1 1920/508x1080/286+1280+0  DUMMY1" gives "1280 0 1920 1080".
    std::istringstream lines(tool("xrandr --listmonitors | sed -n 's|.* \\([0-9]*\\)/[0-9]*x\\([0-9]*\\)/[0-9]*"
                                  "+\\([0-9]*\\)+\\([0-9]*\\) .*|\\3 \\4 \\1 \\2|p'"));
    std::vector<Monitor> found;
    for (Monitor monitor; lines >> monitor.x >> monitor.y >> monitor.width >> monitor.height;) found.push_back(monitor);
    return found;
  }

  // What a screen command answers: its result map, or the failure.
  std::string screen(const char* method) {
    const ChannelReply reply = call(method);
    return reply.isSuccess() ? describe(reply.value()) : describe(reply);
  }

  // Gives the window the keyboard; whether the desktop did.
  bool focused(const std::string& window) {
    tool("xdotool windowactivate --sync " + window);
    return settled([&] { return tool("xdotool getwindowfocus"); }, window) == window;
  }
};

// The X window exists from the start, unmapped, so the interface can show it
// by its number. An interface that asks the window plug-in about it in time
// keeps it hidden until it shows it, past the time when the window would show
// itself; a second launch leaves it hidden.
TEST_F(DesktopHostTest, AnInterfaceThatAsksInTimeKeepsTheWindowHiddenAndASecondLaunchLeavesItSo) {
  EXPECT_EQ(windowPlugin("isWindowVisible"), ChannelReply::success(false));
  EXPECT_THAT(tool("xwininfo -id " + handle()), ::testing::HasSubstr("Map State: IsUnMapped"));
  std::this_thread::sleep_for(kInterfaceTakeOverTime + 1s);
  EXPECT_THAT(tool("xwininfo -id " + handle()), ::testing::HasSubstr("Map State: IsUnMapped"));

  const auto second = host_.spawnHost("second");
  EXPECT_EQ(second->waitExit(kAnswerTime), 0);
  EXPECT_EQ(host_.errorOutput("second"),
            "quillon-host: QUILLON Remote App already runs on " + host_.socketPath() + "; its window is not shown\n");
  EXPECT_EQ(windowPlugin("isWindowVisible"), ChannelReply::success(false));
  EXPECT_EQ(visibleWindow(), "");
  EXPECT_TRUE(acceptsConnections(host_.socketPath())) << "the second launch took the socket file away";
}

// Shown, it has the described frame and title, no title bar, and the class
// under which docks and task bars find the menu entry (its StartupWMClass);
// the window services list it with that rectangle and title.
TEST_F(DesktopHostTest, ShownItHasTheDescribedFrameNoTitleBarAndTheDesktopEntrysClass) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  EXPECT_EQ(windowPlugin("isWindowVisible"), ChannelReply::success(true));
  EXPECT_EQ(handle(), window);
  EXPECT_EQ(tool("xdotool getwindowname " + window), kMainWindowDescription.title);
  const WindowFrame& frame = kMainWindowDescription.frame;
  const std::string described = pixels({frame.x, frame.y, frame.width, frame.height});
  const std::string placed = settled([&] { return geometry(window); }, described, 5s);
  if (placed != described) {
    // Only a window manager that places every window itself may put it elsewhere, its size kept.
    EXPECT_FALSE(movedTo(window, 200, 150)) << "not at its described place: " << placed;
    EXPECT_THAT(placed, ::testing::EndsWith(" " + pixels({frame.width, frame.height})));
  }
  // No frame from the window manager, where it says what it draws (Weston's XWayland manager does not): edges
  // of 0, or none said (mutter and KWin say nothing for a window they do not decorate) and nothing around it.
  if (supports("_NET_FRAME_EXTENTS")) {
    const std::string extents = tool("xprop -id " + window + " _NET_FRAME_EXTENTS");
    if (extents != "_NET_FRAME_EXTENTS(CARDINAL) = 0, 0, 0, 0") {
      EXPECT_EQ(extents, "_NET_FRAME_EXTENTS:  not found.");
      EXPECT_EQ(geometry(frameOf(window)), geometry(window));
    }
  }
  // Listed by its frame: the window itself, or Weston's frame with its shadow margins around it.
  std::istringstream area(geometry(frameOf(window)));
  std::int64_t x = 0, y = 0, width = 0, height = 0;
  area >> x >> y >> width >> height;
  const std::int64_t scale = scaleFactor();
  const auto processId = argumentMap({{"processId", std::int64_t{host_.pid()}}});
  EXPECT_EQ(describe(call("window::getWindowRect", processId)),
            "success({\"top\": " + std::to_string(y / scale) + ", \"left\": " + std::to_string(x / scale) +
                ", \"bottom\": " + std::to_string((y + height) / scale) +
                ", \"right\": " + std::to_string((x + width) / scale) + "})");
  EXPECT_EQ(call("process::getMainWindowTitle", processId), ChannelReply::success(kMainWindowDescription.title));
  EXPECT_EQ(tool("xprop -id " + window + " _MOTIF_WM_HINTS"),
            "_MOTIF_WM_HINTS(_MOTIF_WM_HINTS) = 0x2, 0x0, 0x0, 0x0, 0x0");
  const std::string windowClass = kMainWindowDescription.windowClass;
  EXPECT_EQ(tool("xprop -id " + window + " WM_CLASS"),
            "WM_CLASS(STRING) = \"" + std::string(kMainWindowDescription.programName) + "\", \"" + windowClass + "\"");
  EXPECT_THAT(readFile(QUILLON_DESKTOP_ENTRY), ::testing::HasSubstr("\nStartupWMClass=" + windowClass + "\n"));
}

// Moved from outside (as a window manager or a pager moves it) to where a
// window mapped anew would be pushed back onto the screen (it hangs past the
// right edge), hidden each way the interface can hide it, and shown again each
// way it can show it (by its number too): it stands where it was. mutter and
// KWin keep a window that fits on its monitor wholly on it, against another
// client's move too: there the places are ones where it fits.
TEST_F(DesktopHostTest, TheMainWindowKeepsItsPlaceHoweverItWasHidden) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  const auto position = [&] { return geometry(window, false); };
  std::pair<std::int64_t, std::int64_t> first{400, 300}, second{500, 200};
  if (!movedTo(window, first.first, first.second)) {
    first = {150, 250}, second = {100, 200};
    if (!movedTo(window, first.first, first.second)) {
      GTEST_SKIP() << "the window manager does not let other clients move windows";
    }
  }
  const std::string firstPlace = pixels({first.first, first.second}), secondPlace = pixels({second.first, second.second});
  EXPECT_EQ(windowPlugin("hideWindow"), ChannelReply::success());
  EXPECT_EQ(settled([this] { return visibleWindow(); }, ""), "");
  EXPECT_EQ(showMainWindow(), window);
  EXPECT_EQ(settled(position, firstPlace), firstPlace) << "hidden by the plug-in";

  ASSERT_TRUE(movedTo(window, second.first, second.second));
  EXPECT_EQ(showWindow(window, 0), ChannelReply::success(true));
  EXPECT_EQ(settled([this] { return visibleWindow(); }, ""), "");
  EXPECT_EQ(showWindow(window, 1), ChannelReply::success(true));
  EXPECT_EQ(settled([this] { return visibleWindow(); }, window), window);
  EXPECT_EQ(settled(position, secondPlace), secondPlace) << "hidden by command 0, shown by command 1";
}

// Ctrl+Q (the Quit command) and the window manager's close are termination
// requests like SIGTERM: offered, refused, window kept. The window manager
// closes at a pager's or task bar's request (_NET_CLOSE_WINDOW), and on Alt+F4
// (on every desktop here). Keys typed through XTEST reach X clients alone: a
// Wayland compositor (mutter, KWin, Weston) never sees them as its own, so
// there Alt+F4 is not typed.
TEST_F(DesktopHostTest, QuitShortcutAndWindowManagerCloseOfferTheQuitAndKeepTheWindow) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  const bool compositorReadsXKeys = wayland == nullptr || *wayland == '\0';
  std::vector<std::string> requests;
  if (supports("_NET_CLOSE_WINDOW")) requests.push_back("wmctrl -i -c " + window);
  for (const char* keys : {"ctrl+q", "alt+F4"}) {
    if (keys == std::string("ctrl+q") || compositorReadsXKeys) requests.push_back(std::string("xdotool key ") + keys);
  }
  for (const std::string& request : requests) {
    // Keys go where the keyboard focus is.
    if (request.starts_with("xdotool") && !focused(window)) GTEST_SKIP() << "the desktop gives no window the keyboard";
    tool(request);
    EXPECT_EQ(nextHostCall(*client_), kCloseRequest) << request;
    expectNoFurtherHostCalls(*client_);
    EXPECT_TRUE(running(host_));
    EXPECT_EQ(visibleWindow(), window);
  }
}

// A second launch from the menu while another application has the focus: the
// shown main window comes forward with the focus, carrying the launch's
// startup id (which ends the launch's busy cursor), and the launch ends with 0.
TEST_F(DesktopHostTest, ASecondLaunchBringsTheShownWindowForwardAndEndsWithZero) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  ChildProcess other("/usr/bin/xmessage", {"-name", "quillon-test-other", "another application"}, {},
                     host_.directory() + "/other.out", host_.directory() + "/other.err");
  const std::string otherWindow = tool("xdotool search --sync --classname quillon-test-other | head -n 1");
  ASSERT_FALSE(otherWindow.empty());
  const bool keyboardMoves = focused(otherWindow);

  const auto second = host_.spawnHost("second", {{"DESKTOP_STARTUP_ID", "second-launch_TIME0"}});
  EXPECT_EQ(second->waitExit(kAnswerTime), 0);
  EXPECT_EQ(host_.errorOutput("second"), "quillon-host: QUILLON Remote App already runs on " + host_.socketPath() +
                                              "; its window was brought forward\n");
  EXPECT_EQ(tool("xprop -id " + window + " _NET_STARTUP_ID"), "_NET_STARTUP_ID(UTF8_STRING) = \"second-launch_TIME0\"");
  EXPECT_TRUE(running(host_));
  if (!keyboardMoves) GTEST_SKIP() << "the desktop gives no window the keyboard: where it goes is not checked";
  EXPECT_EQ(settled([&] { return tool("xdotool getwindowfocus"); }, window), window);
}

// Shown and given the keyboard, then moved by another program to another
// monitor and back (its own window moved, as a pager moves it, or the window
// manager's frame around it, as a drag by the title bar does) and given the
// keyboard again: the screen commands answer the monitor the window is on now
// (no desktop here has panels: the work area is the whole monitor), and show
// command 3 gives the window that monitor's size. A window manager may put a
// frame moved behind its back where it was (KWin does): the answers then
// follow where the window is.
TEST_F(DesktopHostTest, TheMainScreenFollowsTheWindowToTheMonitorItWasMovedTo) {
  const std::vector<Monitor> outputs = monitors();
  if (outputs.size() < 2) GTEST_SKIP() << "one monitor: there is no other to move the window to";
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  if (!focused(window)) GTEST_SKIP() << "the desktop gives no window the keyboard";
  // The monitor that holds the window's centre.
  const auto monitorOfWindow = [&]() -> std::optional<Monitor> {
    std::istringstream frame(geometry(window));
    std::int64_t x = 0, y = 0, width = 0, height = 0;
    frame >> x >> y >> width >> height;
    for (const Monitor& monitor : outputs) {
      if (monitor.holds(x + width / 2, y + height / 2)) return monitor;
    }
    return std::nullopt;
  };
  const std::optional<Monitor> first = monitorOfWindow();
  ASSERT_TRUE(first) << geometry(window);
  EXPECT_EQ(screen("window::getScreenBounds"), screenSize(first->width, first->height));
  const Monitor other = outputs[outputs[0] == *first ? 1 : 0];

  const std::vector<std::tuple<const char*, std::string, Monitor>> moves = {
      {"its window to the other monitor", window, other},
      {"its window back", window, *first},
      {"its frame to the other monitor", frameOf(window), other},
  };
  bool reachedTheOther = false;
  for (const auto& [how, moved, destination] : moves) {
    SCOPED_TRACE(how);
    const Monitor& target = destination;  // a name the lambdas below can capture
    tool("xdotool windowmove --sync " + moved + " " + std::to_string(target.x + 220) + " " +
         std::to_string(target.y + 100));
    std::optional<Monitor> now;
    if (waitUntil([&] { return (now = monitorOfWindow()) == target; }, 5s)) {
      reachedTheOther = reachedTheOther || target == other;
    } else {
      std::cout << how << ": the window manager kept the window at " << geometry(window) << "\n";
    }
    ASSERT_TRUE(now) << geometry(window);
    EXPECT_TRUE(focused(window));
    const std::string size = screenSize(now->width, now->height);
    EXPECT_EQ(settled([&] { return screen("window::getScreenBounds"); }, size), size);
    EXPECT_EQ(screen("window::getScreenWorkingAreaDimensions"), size);
    EXPECT_EQ(showWindow(window, 3), ChannelReply::success(true));
    const std::string monitorSize = " " + std::to_string(now->width) + " " + std::to_string(now->height);
    EXPECT_TRUE(waitUntil([&] { return geometry(window).ends_with(monitorSize); }, 5s)) << geometry(window);
    // Back to its described size, so that it fits on either monitor again.
    const WindowFrame& described = kMainWindowDescription.frame;
    tool("xdotool windowsize --sync " + window + " " + pixels({described.width, described.height}));
  }
  if (!reachedTheOther) GTEST_SKIP() << "the window manager let no move take the window to the other monitor";
}

// A startup id far beyond any desktop's, handed over while the window is
// shown, would become an X property too large for the server, whose error
// would end the host: it is refused, and the host and its window carry on.
TEST_F(DesktopHostTest, AStartupIdBeyondItsSizeIsRefusedAndTheShownHostServesOn) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  const ChannelValue arguments = argumentMap({{"startupId", std::string(16 * 1024 * 1024, 'i')}});
  EXPECT_EQ(callHost(*client_, "quillon.app/instance", "activate", arguments),
            ChannelReply::error("INVALID_ARGUMENT", "Expected startupId of at most 4096 bytes without NUL"));
  EXPECT_EQ(callHost(*client_, "quillon.app/instance", "activate", argumentMap({{"startupId", "launch-3_TIME0"}})),
            ChannelReply::success(true));
  EXPECT_EQ(tool("xprop -id " + window + " _NET_STARTUP_ID"), "_NET_STARTUP_ID(UTF8_STRING) = \"launch-3_TIME0\"");
  EXPECT_TRUE(running(host_));
  EXPECT_EQ(host_.stop(), 0) << host_.errorOutput();
}

}  // namespace
}  // namespace quillon::testing
