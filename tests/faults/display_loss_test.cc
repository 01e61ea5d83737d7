// The X server of the host's display killed under it: the host ends cleanly,
// with one line naming the display, every connection closed, the socket file
// removed and exit status 0.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/host_conversation.h"
#include "tests/window/own_x_server.h"

namespace quillon::testing {
namespace {

TEST(DisplayLossTest, TheHostEndsCleanlyWhenItsDisplayGoesAway) {
  OwnXServer display;
  const std::string name = display.name();
  ASSERT_FALSE(name.empty()) << "Xvfb did not start";
  auto host = startedHost({.environment = {{"DISPLAY", name}, {"WAYLAND_DISPLAY", std::nullopt}}});
  auto interface = connectTo(*host);
  ASSERT_TRUE(interface);
  // The main window exists, hidden: the host is on the display.
  ASSERT_EQ(callHost(*interface, "bitsdojo/window", "isWindowVisible"), ChannelReply::success(false));

  display.end();
  EXPECT_EQ(host->waitExit(kAnswerTime), 0);
  EXPECT_TRUE(interface->waitForClose(kAnswerTime));
  EXPECT_FALSE(std::filesystem::exists(host->socketPath()));
  EXPECT_EQ(host->errorOutput(), "quillon-host: lost the connection to the display " + name + "; ending\n");
}

}  // namespace
}  // namespace quillon::testing
