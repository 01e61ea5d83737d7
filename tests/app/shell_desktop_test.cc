// The built host on the test's X desktop (a window manager running), driven
// over the link and through the desktop as a user would.
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <thread>
#include <vector>

#include "app/main_window_description.h"
#include "tests/app/host_conversation.h"

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

  std::string showMainWindow() {
    EXPECT_EQ(callHost(*interface_, kWindowChannel, "showWindow"), ChannelReply::success());
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    std::string window = visibleWindow();
    while (window.empty() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(20ms);
      window = visibleWindow();
    }
    EXPECT_FALSE(window.empty());
    return window;
  }

  // "x y width height" of the window's own area on the screen.
  static std::string geometry(const std::string& window) {
    return runTool("xwininfo -id " + window +
                   " | awk '/Absolute upper-left X/{x=$4} /Absolute upper-left Y/{y=$4} /Width:/{w=$2} "
                   "/Height:/{h=$2} END{print x, y, w, h}'");
  }

  std::unique_ptr<HostProcess> host_;
  std::unique_ptr<LinkClient> interface_;
};

std::string describedGeometry() {
  const WindowFrame& frame = kMainWindowDescription.frame;
  return std::to_string(frame.x) + " " + std::to_string(frame.y) + " " + std::to_string(frame.width) + " " +
         std::to_string(frame.height);
}

TEST_F(DesktopHostTest, MainWindowIsHiddenAtStartUp) {
  EXPECT_EQ(callHost(*interface_, kWindowChannel, "isWindowVisible"), ChannelReply::success(false));
  EXPECT_EQ(visibleWindow(), "");
}

TEST_F(DesktopHostTest, ShownThroughTheWindowPluginItHasTheDescribedFrameAndNoTitleBar) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  EXPECT_EQ(pollUntil([&] { return geometry(window); }, describedGeometry()), describedGeometry());
  EXPECT_EQ(runTool("xdotool getwindowname " + window), kMainWindowDescription.title);
  // The window manager draws no frame, so no title bar and none of its buttons.
  EXPECT_EQ(runTool("xprop -id " + window + " _NET_FRAME_EXTENTS"), "_NET_FRAME_EXTENTS(CARDINAL) = 0, 0, 0, 0");
  EXPECT_EQ(runTool("xprop -id " + window + " _MOTIF_WM_HINTS"),
            "_MOTIF_WM_HINTS(_MOTIF_WM_HINTS) = 0x2, 0x0, 0x0, 0x0, 0x0");
  EXPECT_EQ(callHost(*interface_, kWindowChannel, "isWindowVisible"), ChannelReply::success(true));

  EXPECT_EQ(callHost(*interface_, kWindowChannel, "hideWindow"), ChannelReply::success());
  EXPECT_EQ(pollUntil([this] { return visibleWindow(); }, std::string()), "");
  EXPECT_EQ(showMainWindow(), window);
  EXPECT_EQ(pollUntil([&] { return geometry(window); }, describedGeometry()), describedGeometry());
}

// Ctrl+Q (the Quit command) and the window manager's close (Alt+F4 on this
// desktop) are termination requests like SIGTERM: offered, refused, window kept.
TEST_F(DesktopHostTest, QuitShortcutAndWindowManagerCloseOfferTheQuitAndKeepTheWindow) {
  const std::string window = showMainWindow();
  ASSERT_FALSE(window.empty());
  for (const char* keys : {"ctrl+q", "alt+F4"}) {
    // Keys go where the keyboard focus is: wait until it is on the window.
    runTool("xdotool windowactivate --sync " + window);
    EXPECT_EQ(pollUntil([&] { return runTool("xdotool getwindowfocus"); }, window), window);
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
  ASSERT_EQ(pollUntil([] { return runTool("xdotool getwindowfocus"); }, otherWindow), otherWindow);

  const auto second = host_->spawnHost("second", {{"DESKTOP_STARTUP_ID", "second-launch_TIME0"}});
  EXPECT_EQ(second->waitExit(kAnswerTime), 0);
  EXPECT_EQ(host_->errorOutput("second"), "quillon-host: QUILLON Remote App already runs on " + host_->socketPath() +
                                              "; its window was brought forward\n");
  EXPECT_EQ(pollUntil([] { return runTool("xdotool getwindowfocus"); }, window), window);
  EXPECT_EQ(runTool("xprop -id " + window + " _NET_STARTUP_ID"),
            "_NET_STARTUP_ID(UTF8_STRING) = \"second-launch_TIME0\"");
  EXPECT_TRUE(running(*host_));
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
