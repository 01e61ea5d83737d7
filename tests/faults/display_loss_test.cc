// The X server of the host's display killed under it: the host ends cleanly,
// with one line naming the display, every connection closed, the socket file
// removed and exit status 0.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <random>

#include "tests/app/host_conversation.h"
#include "tests/faults/process_readings.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

// An Xvfb of the test's own on a display number nobody uses.
class OwnXServer {
 public:
  OwnXServer() {
    std::random_device device;
    number_ = 500 + static_cast<int>(device() % 400);
    while (fs::exists(socketPath()) || fs::exists("/tmp/.X" + std::to_string(number_) + "-lock")) ++number_;
    server_ = std::make_unique<ChildProcess>("/usr/bin/Xvfb",
                                             std::vector<std::string>{name(), "-screen", "0", "640x480x24", "-nolisten", "tcp"},
                                             ChildProcess::Environment{}, "/dev/null", "/dev/null");
  }

  std::string name() const { return ":" + std::to_string(number_); }
  bool waitReady() {
    return waitUntil([this] { return !server_->running() || acceptsConnections(socketPath()); }, kAnswerTime) &&
           server_->running();
  }
  void kill() {
    server_->signal(SIGTERM);
    server_->waitExit(kAnswerTime);
  }

 private:
  std::string socketPath() const { return "/tmp/.X11-unix/X" + std::to_string(number_); }

  int number_ = 0;
  std::unique_ptr<ChildProcess> server_;
};

TEST(DisplayLossTest, TheHostEndsCleanlyWhenItsDisplayGoesAway) {
  OwnXServer display;
  ASSERT_TRUE(display.waitReady());
  auto host = startedHost({.environment = {{"DISPLAY", display.name()}, {"WAYLAND_DISPLAY", std::nullopt}}});
  auto interface = connectTo(*host);
  ASSERT_TRUE(interface);
  // The main window exists, hidden: the host is on the display.
  ASSERT_EQ(callHost(*interface, "bitsdojo/window", "isWindowVisible"), ChannelReply::success(false));

  display.kill();
  EXPECT_EQ(host->waitExit(kAnswerTime), 0);
  EXPECT_TRUE(interface->waitForClose(kAnswerTime));
  EXPECT_FALSE(fs::exists(host->socketPath()));
  const std::string errors = host->errorOutput();
  EXPECT_EQ(countOccurrences(errors, "quillon-host: lost the connection to the display " + display.name() +
                                         "; ending\n"),
            1u)
      << errors;
  EXPECT_EQ(countOccurrences(errors, "\n"), 1u) << errors;
}

}  // namespace
}  // namespace quillon::testing
