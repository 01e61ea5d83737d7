// The desktop services without a display: each answers its failure value and
// nothing aborts. Every test runs in a process of its own (ctest), with
// DISPLAY removed before GTK is first asked.
#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/linux/gtk_alert_window.h"
#include "platform/linux/gtk_desktop.h"
#include "platform/linux/gtk_host_windows.h"
#include "platform/linux/gtk_screens.h"
#include "platform/linux/pango_text_measurer.h"
#include "platform/linux/x11_window_list.h"
#include "tests/support/capturing_diagnostics.h"
#include "window/application_window.h"

namespace quillon {
namespace {

class NoDisplayTest : public ::testing::Test {
  void SetUp() override { unsetenv("DISPLAY"); }
};

TEST_F(NoDisplayTest, EveryServiceAnswersItsFailureValue) {
  X11WindowList windowList;
  GtkHostWindows hostWindows;
  GtkScreens screens;
  PangoTextMeasurer textMeasurer;
  GtkAlertWindowFactory alertWindows;
  testing::CapturingDiagnostics diagnostics;
  class NoQueue final : public MainQueue {
   public:
    void post(Job job) override { job(); }
    void postAfter(std::chrono::seconds, Job job) override { job(); }
  } queue;
  const WindowServices services{windowList, hostWindows, screens, textMeasurer, alertWindows, queue, diagnostics};

  EXPECT_FALSE(gtkDesktopAvailable());
  EXPECT_EQ(windowList.onScreenWindows(), std::nullopt);
  EXPECT_EQ(ApplicationWindow::getWindowRect(services, 1), std::nullopt);
  EXPECT_EQ(diagnostics.lines,
            std::vector<std::string>{"Error: Could not retrieve window list from Core Graphics."});
  EXPECT_FALSE(ApplicationWindow::showWindow(services, 1, 1));
  EXPECT_EQ(ApplicationWindow::getScreenBounds(services), (ScreenDimensions{0, 0}));
  EXPECT_EQ(ApplicationWindow::getScreenWorkingAreaDimensions(services), std::nullopt);
  EXPECT_EQ(alertWindows.create(AlertWindowStyle{"T", 400, 100, true, false, false, true}), nullptr);
  ApplicationWindow::showAlert(services, "Title", "Message", 1);  // measures, then shows nothing
}

TEST_F(NoDisplayTest, TextIsMeasuredWithoutADisplay) {
  PangoTextMeasurer measurer;
  const SystemFont font{13.0, FontWeight::regular};
  const double oneLine = measurer.heightOf("Short", 360.0, font);
  EXPECT_GT(oneLine, 10.0);
  EXPECT_LT(oneLine, 30.0);
  std::string words;
  for (int index = 0; index < 60; ++index) words += "word ";
  EXPECT_GT(measurer.heightOf(words, 360.0, font), 2.5 * oneLine);  // wrapped onto several lines
  EXPECT_GT(measurer.heightOf(std::string(40, 'x'), 40.0, font), 2.5 * oneLine);  // a long word breaks too
  EXPECT_GT(measurer.heightOf("Short", 360.0, SystemFont{26.0, FontWeight::regular}), 1.5 * oneLine);
}

}  // namespace
}  // namespace quillon
