// The built host on the test's X desktop (a window manager running), driven
// over the link and through the desktop as a user would. What the desktop
// cannot do (move other clients' windows, give a window the keyboard,
// minimise) is asked of the desktop itself, and the test says what it skips.
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <sstream>

#include "app/main_window_description.h"
#include "tests/app/host_conversation.h"
#include "tests/support/catalogue_end_to_end_test.h"

namespace quillon::testing {
namespace {

constexpr const char* kWindowChannel = "bitsdojo/window";

// The output of a desktop tool, with surrounding whitespace removed.
std::string runTool(const std::string& command) {
  std::string output;
  if (FILE* pipe = ::popen((command + " 2>/dev/null").c_str(), "r")) {
    char buffer[4096];
    while (size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, count);
    ::pclose(pipe);
  }
  while (!output.empty() && std::isspace(static_cast<unsigned char>(output.back()))) output.pop_back();
  return output;
}

// Polls `probe` until it answers what is expected, or the deadline passes;
// answers the last value seen.
template <typename Probe>
auto pollUntil(Probe probe, const decltype(probe())& expected, std::chrono::milliseconds timeout = 10s) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  auto value = probe();
  while (value != expected && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(20ms);
    value = probe();
  }
  return value;
}

// What the desktop offers, as it says: its scale for GTK applications (as
// GNOME sets it on a HiDPI panel), and the hints its window manager supports.
int desktopScale() {
  const char* scale = std::getenv("GDK_SCALE");
  return scale != nullptr && std::atoi(scale) > 0 ? std::atoi(scale) : 1;
}

bool windowManagerSupports(const std::string& hint) {
  const std::string supported = runTool("xprop -root _NET_SUPPORTED") + ",";
  return supported.find(" " + hint + ",") != std::string::npos;
}

// "x y width height" in device pixels, of a frame given in points.
std::string devicePixels(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height) {
  const std::int64_t scale = desktopScale();
  return std::to_string(x * scale) + " " + std::to_string(y * scale) + " " + std::to_string(width * scale) + " " +
         std::to_string(height * scale);
}

// "x y" in device pixels, of a position given in points.
std::string at(std::int64_t x, std::int64_t y) {
  const std::int64_t scale = desktopScale();
  return std::to_string(x * scale) + " " + std::to_string(y * scale);
}

std::string describedGeometry() {
  const WindowFrame& frame = kMainWindowDescription.frame;
  return devicePixels(frame.x, frame.y, frame.width, frame.height);
}

class DesktopHostTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* display = std::getenv("DISPLAY");
    ASSERT_TRUE(display != nullptr && *display != '\0') << "these tests need an X display (scripts/with-desktop)";
    host_ = startedHost({});
    interface_ = connectTo(*host_);
    ASSERT_TRUE(interface_);
    // The host sends to the connections it has accepted: a round trip makes sure of ours.
    ASSERT_TRUE(callHost(*interface_, kNativeCommandChannel, "assembly::getExecutingAssemblyPath").isSuccess());
  }

  // The host's visible window ids, one a line; empty while none is shown.
  std::string visibleWindow() const {
    return runTool("xdotool search --onlyvisible --pid " + std::to_string(host_->pid()));
  }

  std::string waitVisible() {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    std::string window = visibleWindow();
    while (window.empty() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(20ms);
      window = visibleWindow();
    }
    EXPECT_FALSE(window.empty());
    return window;
  }

  std::string showMainWindow() {
    EXPECT_EQ(callHost(*interface_, kWindowChannel, "showWindow"), ChannelReply::success());
    return waitVisible();
  }

  void hideMainWindow() {
    EXPECT_EQ(callHost(*interface_, kWindowChannel, "hideWindow"), ChannelReply::success());
    EXPECT_EQ(pollUntil([this] { return visibleWindow(); }, std::string()), "");
  }

  // The main window's number, from the window plug-in.
  std::int64_t windowHandle() {
    const ChannelReply reply = callHost(*interface_, kWindowChannel, "getAppWindowHandle");
    EXPECT_TRUE(reply.isSuccess()) << describe(reply.isSuccess() ? reply.value() : ChannelValue());
    return reply.isSuccess() ? reply.value().asInteger().value_or(0) : 0;
  }

  ChannelReply showWindow(std::int64_t handle, std::int64_t command) {
    return callHost(*interface_, kNativeCommandChannel, "window::showWindow",
                    argumentMap({{"windowHandle", handle}, {"command", command}}));
  }

  ChannelReply askAboutHost(const std::string& method) {
    const ChannelValue arguments = argumentMap({{"processId", std::int64_t{host_->pid()}}});
    return callHost(*interface_, kNativeCommandChannel, method, arguments);
  }

  // "x y width height" of the window's own area on the screen, device pixels.
  static std::string geometry(const std::string& window) {
    return runTool("xwininfo -id " + window +
                   " | awk '/Absolute upper-left X/{x=$4} /Absolute upper-left Y/{y=$4} /Width:/{w=$2} "
                   "/Height:/{h=$2} END{print x, y, w, h}'");
  }

  static std::string position(const std::string& window) {
    const std::string whole = geometry(window);
    return whole.substr(0, whole.find(' ', whole.find(' ') + 1));
  }

  // Moves the window as a window manager or a pager would, to (x, y) points;
  // whether it got there (a window manager may refuse other clients' moves).
  static bool movedTo(const std::string& window, std::int64_t x, std::int64_t y) {
    const std::string target = at(x, y);
    runTool("xdotool windowmove " + window + " " + target);
    return pollUntil([&] { return position(window); }, target, 5s) == target;
  }

  std::unique_ptr<HostProcess> host_;
  std::unique_ptr<LinkClient> interface_;
};

TEST_F(DesktopHostTest, MainWindowIsHiddenAtStartUpWithItsNumberAlready) {
  EXPECT_EQ(callHost(*interface_, kWindowChannel, "isWindowVisible"), ChannelReply::success(false));
  EXPECT_EQ(visibleWindow(), "");
  // The X window exists, unmapped: the interface can show it by its number.
  const std::int64_t handle = windowHandle();
  ASSERT_GT(handle, 0);
  EXPECT_THAT(runTool("xwininfo -id " + std::to_string(handle)), ::testing::HasSubstr("Map State: IsUnMapped"));
}

TEST_F(DesktopHostTest, ShownThroughTheWindowPluginItHasTheDescribedFrameAndNoTitleBar) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  EXPECT_EQ(std::to_string(windowHandle()), window);
  EXPECT_EQ(runTool("xdotool getwindowname " + window), kMainWindowDescription.title);
  // Where the window manager puts windows where they ask to stand.
  if (geometry(window) != describedGeometry() && !movedTo(window, 200, 150)) {
    const WindowFrame& described = kMainWindowDescription.frame;
    const std::string size = devicePixels(0, 0, described.width, described.height).substr(4);
    EXPECT_THAT(geometry(window), ::testing::EndsWith(size)) << "placed by the window manager, its size kept";
  } else {
    EXPECT_EQ(pollUntil([&] { return geometry(window); }, describedGeometry()), describedGeometry());
  }
  // No frame from the window manager, so no title bar and none of its buttons,
  // where it says what it draws (Weston's XWayland manager does not).
  if (windowManagerSupports("_NET_FRAME_EXTENTS")) {
    EXPECT_EQ(runTool("xprop -id " + window + " _NET_FRAME_EXTENTS"), "_NET_FRAME_EXTENTS(CARDINAL) = 0, 0, 0, 0");
  }
  EXPECT_EQ(runTool("xprop -id " + window + " _MOTIF_WM_HINTS"),
            "_MOTIF_WM_HINTS(_MOTIF_WM_HINTS) = 0x2, 0x0, 0x0, 0x0, 0x0");
  EXPECT_EQ(callHost(*interface_, kWindowChannel, "isWindowVisible"), ChannelReply::success(true));
}

// What the host answers about its own shown window: in points at any scale,
// and found under any window manager, Weston's XWayland manager included.
TEST_F(DesktopHostTest, TheShownMainWindowIsListedInPoints) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  EXPECT_EQ(askAboutHost("process::getMainWindowTitle"), ChannelReply::success(kMainWindowDescription.title));
  const ChannelReply rect = askAboutHost("window::getWindowRect");
  ASSERT_TRUE(rect.isSuccess() && rect.value().is<ChannelMap>()) << "no rectangle for the host's own window";
  const auto side = [&](const char* key) {
    return rect.value().get<ChannelMap>().find(std::string_view(key))->asInteger().value_or(-1);
  };
  std::istringstream own(geometry(window));
  std::int64_t x = 0, y = 0, width = 0, height = 0;
  own >> x >> y >> width >> height;
  const std::int64_t scale = desktopScale();
  x /= scale, y /= scale, width /= scale, height /= scale;
  // The whole window, a window manager's frame included, holds its own area.
  EXPECT_LE(side("left"), x);
  EXPECT_LE(side("top"), y);
  EXPECT_GE(side("right"), x + width);
  EXPECT_GE(side("bottom"), y + height);
  EXPECT_LE(side("right") - side("left"), width + 100) << "device pixels counted as points?";
  EXPECT_LE(side("bottom") - side("top"), height + 100) << "device pixels counted as points?";
}

// Moved from outside (as a window manager or a pager moves it) to where a
// window mapped anew would be pushed back onto the screen (it hangs past the
// right edge), hidden each way the interface can hide it, and shown again each
// way it can show it: it stands where it was.
TEST_F(DesktopHostTest, TheMainWindowKeepsItsPlaceHoweverItWasHidden) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  const std::int64_t handle = windowHandle();
  if (!movedTo(window, 400, 300)) GTEST_SKIP() << "the window manager does not let other clients move windows";
  hideMainWindow();
  EXPECT_EQ(showMainWindow(), window);
  EXPECT_EQ(pollUntil([&] { return position(window); }, at(400, 300)), at(400, 300)) << "hidden by the plug-in";

  ASSERT_TRUE(movedTo(window, 500, 200));
  EXPECT_EQ(showWindow(handle, 0), ChannelReply::success(true));
  EXPECT_EQ(pollUntil([this] { return visibleWindow(); }, std::string()), "");
  EXPECT_EQ(showMainWindow(), window);
  EXPECT_EQ(pollUntil([&] { return position(window); }, at(500, 200)), at(500, 200)) << "hidden by command 0";

  hideMainWindow();
  EXPECT_EQ(showWindow(handle, 1), ChannelReply::success(true));
  EXPECT_EQ(waitVisible(), window);
  EXPECT_EQ(pollUntil([&] { return position(window); }, at(500, 200)), at(500, 200)) << "shown by command 1";
}

// The README's example: the interface learns the main window's number from the
// window plug-in and shows, minimises and restores it with "window::showWindow".
TEST_F(DesktopHostTest, ShownMinimisedAndRestoredByItsNumber) {
  const std::int64_t handle = windowHandle();
  ASSERT_GT(handle, 0);
  EXPECT_EQ(showWindow(handle, 1), ChannelReply::success(true));
  EXPECT_EQ(waitVisible(), std::to_string(handle));
  EXPECT_EQ(callHost(*interface_, kWindowChannel, "isWindowVisible"), ChannelReply::success(true));
  const auto state = [&] { return runTool("xprop -id " + std::to_string(handle) + " WM_STATE | grep 'window state'"); };
  if (windowManagerSupports("_NET_WM_STATE_HIDDEN")) {
    EXPECT_EQ(showWindow(handle, 6), ChannelReply::success(true));
    EXPECT_THAT(pollUntil(state, "window state: Iconic"), ::testing::HasSubstr("Iconic"));
  }
  EXPECT_EQ(showWindow(handle, 9), ChannelReply::success(true));
  EXPECT_THAT(pollUntil(state, "window state: Normal"), ::testing::HasSubstr("Normal"));
  EXPECT_EQ(visibleWindow(), std::to_string(handle));
}

// Ctrl+Q (the Quit command) and the window manager's close (Alt+F4 on this
// desktop) are termination requests like SIGTERM: offered, refused, window kept.
TEST_F(DesktopHostTest, QuitShortcutAndWindowManagerCloseOfferTheQuitAndKeepTheWindow) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  for (const char* keys : {"ctrl+q", "alt+F4"}) {
    // Keys go where the keyboard focus is: wait until it is on the window.
    runTool("xdotool windowactivate --sync " + window);
    if (pollUntil([&] { return runTool("xdotool getwindowfocus"); }, window) != window) {
      GTEST_SKIP() << "the desktop gives no window the keyboard";
    }
    runTool(std::string("xdotool key ") + keys);
    EXPECT_EQ(nextHostCall(*interface_, kAnswerTime), kCloseRequest) << keys;
    expectNoFurtherHostCalls(*interface_);
    EXPECT_TRUE(running(*host_));
    EXPECT_EQ(visibleWindow(), window);
  }
  host_->signal(SIGTERM);
  EXPECT_EQ(nextHostCall(*interface_, kAnswerTime), kCloseRequest);
}

TEST_F(DesktopHostTest, ForceQuitEndsTheHostWithStatusZero) {
  ASSERT_FALSE(showMainWindow().empty());
  forceQuit(*interface_);
  EXPECT_EQ(host_->waitExit(kAnswerTime), 0);
  EXPECT_TRUE(interface_->waitForClose(kAnswerTime));
}

// Docks and task bars put the window under the menu entry whose
// StartupWMClass names its class.
TEST_F(DesktopHostTest, TheMainWindowCarriesTheClassThatTheDesktopEntryNames) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  const std::string windowClass = kMainWindowDescription.windowClass;
  EXPECT_EQ(runTool("xprop -id " + window + " WM_CLASS"),
            "WM_CLASS(STRING) = \"" + std::string(kMainWindowDescription.programName) + "\", \"" + windowClass + "\"");
  std::ifstream entry(QUILLON_DESKTOP_ENTRY);
  std::string line;
  std::vector<std::string> named;
  while (std::getline(entry, line)) {
    if (line.starts_with("StartupWMClass=")) named.push_back(line.substr(line.find('=') + 1));
  }
  EXPECT_EQ(named, std::vector<std::string>{windowClass});
}

// A second launch from the menu while another application has the focus: the
// shown main window comes forward with the focus, carrying the launch's
// startup id (which ends the launch's busy cursor), and the launch ends with 0.
TEST_F(DesktopHostTest, ASecondLaunchBringsTheShownWindowForwardAndEndsWithZero) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  ChildProcess other("/usr/bin/xmessage", {"-name", "quillon-test-other", "another application"}, {},
                     host_->directory() + "/other.out", host_->directory() + "/other.err");
  const std::string otherWindow = runTool("xdotool search --sync --classname quillon-test-other | head -n 1");
  ASSERT_FALSE(otherWindow.empty());
  runTool("xdotool windowactivate --sync " + otherWindow);
  const bool keyboardMoves = pollUntil([] { return runTool("xdotool getwindowfocus"); }, otherWindow) == otherWindow;

  const auto second = host_->spawnHost("second", {{"DESKTOP_STARTUP_ID", "second-launch_TIME0"}});
  EXPECT_EQ(second->waitExit(kAnswerTime), 0);
  EXPECT_EQ(host_->errorOutput("second"), "quillon-host: QUILLON Remote App already runs on " + host_->socketPath() +
                                              "; its window was brought forward\n");
  EXPECT_EQ(runTool("xprop -id " + window + " _NET_STARTUP_ID"),
            "_NET_STARTUP_ID(UTF8_STRING) = \"second-launch_TIME0\"");
  EXPECT_TRUE(running(*host_));
  if (!keyboardMoves) GTEST_SKIP() << "the desktop gives no window the keyboard: where it goes is not checked";
  EXPECT_EQ(pollUntil([] { return runTool("xdotool getwindowfocus"); }, window), window);
}

TEST_F(DesktopHostTest, ASecondLaunchLeavesAHiddenWindowHidden) {
  const auto second = host_->spawnHost("second");
  EXPECT_EQ(second->waitExit(kAnswerTime), 0);
  EXPECT_EQ(host_->errorOutput("second"),
            "quillon-host: QUILLON Remote App already runs on " + host_->socketPath() + "; its window is not shown\n");
  EXPECT_EQ(callHost(*interface_, kWindowChannel, "isWindowVisible"), ChannelReply::success(false));
  EXPECT_EQ(visibleWindow(), "");
}

}  // namespace
}  // namespace quillon::testing
