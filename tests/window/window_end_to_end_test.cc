// The five "window::" commands over the link, answered by the built host on the
// X display in DISPLAY.
#include <gtest/gtest.h>

#include "platform/linux/x11_window_list.h"
#include "tests/support/catalogue_end_to_end_test.h"
#include "tests/window/desktop_support.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

using testing::argumentMap;

class WindowEndToEndTest : public testing::CatalogueEndToEndTest {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("DISPLAY"), nullptr) << "run under scripts/with-desktop";
    CatalogueEndToEndTest::SetUp();
  }
};

TEST_F(WindowEndToEndTest, ScreenMetricsRectanglesAndTitles) {
  // Integers that fit 32 bits travel as 32-bit values.
  EXPECT_EQ(call("window::getScreenBounds"),
            ChannelReply::success(argumentMap({{"width", std::int32_t{1280}}, {"height", std::int32_t{1024}}})));
  const ChannelReply workArea = call("window::getScreenWorkingAreaDimensions");
  ASSERT_TRUE(workArea.isSuccess()) << describe(workArea.value());
  EXPECT_EQ(workArea.value().get<ChannelMap>().find(std::string_view("width"))->asInteger(), 1280);

  testing::SpawnedProgram client({X11_TEST_CLIENT, "Remote desktop", "300x200+100+150"});
  X11WindowList list;
  ASSERT_TRUE(testing::waitUntil([&] {
    for (const auto& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
      if (entry.ownerProcessId == client.pid() && entry.bounds && entry.bounds->width > 300.0) return true;
    }
    return false;
  }));
  const ChannelReply rect = call("window::getWindowRect", argumentMap({{"processId", std::int64_t{client.pid()}}}));
  ASSERT_TRUE(rect.isSuccess());
  const ChannelMap& values = rect.value().get<ChannelMap>();
  EXPECT_EQ(values.find(std::string_view("left"))->asInteger(), 100);
  EXPECT_EQ(values.find(std::string_view("top"))->asInteger(), 150);
  // The process services read the same window list.
  EXPECT_EQ(call("process::getMainWindowTitle", argumentMap({{"processId", std::int64_t{client.pid()}}})),
            ChannelReply::success("Remote desktop"));
  EXPECT_EQ(call("window::getWindowRect", argumentMap({{"windowHandle", std::int64_t{1}}})),
            ChannelReply::error("INVALID_ARGUMENT", "Expected windowHandle"));
  EXPECT_EQ(call("window::showWindow", argumentMap({{"windowHandle", std::int64_t{1}}, {"command", std::int64_t{1}}})),
            ChannelReply::success(false));
}

TEST_F(WindowEndToEndTest, ShowAlertAnswersNullAndTheHostShowsItUntilItsTimeout) {
  EXPECT_EQ(call("window::showAlert", argumentMap({{"title", "Update"}, {"message", "Done."}, {"timeout", std::int64_t{1}}})),
            ChannelReply::success());
  X11WindowList list;
  const auto alertShown = [&] {
    for (const auto& entry : list.onScreenWindows().value_or(std::vector<WindowListEntry>{})) {
      if (entry.name == "QUILLON Remote App" && entry.ownerProcessId != getpid()) return true;
    }
    return false;
  };
  EXPECT_TRUE(testing::waitUntil(alertShown));
  EXPECT_TRUE(testing::waitUntil([&] { return !alertShown(); }));
}

}  // namespace
}  // namespace quillon
