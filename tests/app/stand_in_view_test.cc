// The built host started from the desktop as a user would, with no interface:
// its main window appears by itself and says what it is, then lists the calls
// an interface makes, and its close button offers the quit or, with nobody to
// ask, ends the host. What the window shows is read as a screen reader reads
// it: through the desktop's accessibility bus (AT-SPI), on the private D-Bus
// session this executable runs under (dbus-run-session, see CMakeLists.txt).
#include <atspi/atspi.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/c_owner.h"
#include "tests/support/host_conversation.h"

namespace quillon::testing {
namespace {

using Accessible = COwner<AtspiAccessible, g_object_unref>;

std::string textOf(gchar* owned) {
  std::string text = owned != nullptr ? owned : "";
  g_free(owned);
  return text;
}

// Every accessible below `node` (itself included), depth first.
void collect(AtspiAccessible* node, std::vector<Accessible>& found) {
  found.emplace_back(ATSPI_ACCESSIBLE(g_object_ref(node)));
  const gint count = atspi_accessible_get_child_count(node, nullptr);
  for (gint index = 0; index < count; ++index) {
    Accessible child(atspi_accessible_get_child_at_index(node, index, nullptr));
    if (child) collect(child.get(), found);
  }
}

class StandInViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* display = std::getenv("DISPLAY");
    ASSERT_TRUE(display != nullptr && *display != '\0') << "these tests need an X display (scripts/with-desktop)";
    ASSERT_NE(std::getenv("DBUS_SESSION_BUS_ADDRESS"), nullptr) << "run under dbus-run-session";
    const int started = atspi_init();  // 1: already, for an earlier test
    ASSERT_TRUE(started == 0 || started == 1) << started;
    // The accessibility bus is started on the session now, not while the host starts.
    Accessible(atspi_get_desktop(0));
  }

  // The output of a desktop tool, without its last line end.
  std::string tool(const std::string& command) const {
    std::string output = runTool("/bin/sh", {"-c", command}, {}, host_.directory()).output;
    return output.ends_with('\n') ? output.substr(0, output.size() - 1) : output;
  }

  std::string visibleWindow() const { return tool("xdotool search --onlyvisible --pid " + std::to_string(host_.pid())); }

  // The host's accessibles as they are now (nothing cached from before).
  std::vector<Accessible> hostAccessibles() const {
    std::vector<Accessible> found;
    Accessible desktop(atspi_get_desktop(0));
    const gint count = atspi_accessible_get_child_count(desktop.get(), nullptr);
    for (gint index = 0; index < count; ++index) {
      Accessible application(atspi_accessible_get_child_at_index(desktop.get(), index, nullptr));
      if (!application || atspi_accessible_get_process_id(application.get(), nullptr) != static_cast<guint>(host_.pid())) {
        continue;
      }
      atspi_accessible_clear_cache(application.get());
      collect(application.get(), found);
    }
    return found;
  }

  // Whether, before the deadline, some accessible of the host whose role is
  // `role` (any, when empty) is named `name` or, with `part`, has it in its name.
  bool hostShows(const std::string& name, const std::string& role = "", bool part = false) const {
    return waitUntil(
        [&] {
          for (const Accessible& each : hostAccessibles()) {
            const std::string shown = textOf(atspi_accessible_get_name(each.get(), nullptr));
            const bool matches = part ? shown.find(name) != std::string::npos : shown == name;
            if (matches && (role.empty() || textOf(atspi_accessible_get_role_name(each.get(), nullptr)) == role)) {
              return true;
            }
          }
          return false;
        },
        10s);
  }

  // Presses the view's close button as a screen reader's user would.
  void pressClose() const {
    for (const Accessible& each : hostAccessibles()) {
      if (textOf(atspi_accessible_get_name(each.get(), nullptr)) != "Close") continue;
      if (textOf(atspi_accessible_get_role_name(each.get(), nullptr)) != "push button") continue;
      AtspiAction* action = atspi_accessible_get_action_iface(each.get());
      ASSERT_NE(action, nullptr);
      EXPECT_TRUE(atspi_action_do_action(action, 0, nullptr));
      g_object_unref(action);
      return;
    }
    ADD_FAILURE() << "no close button";
  }

  HostProcess host_{HostProcess::Layout{}};
};

TEST_F(StandInViewTest, WithoutAnInterfaceTheWindowShowsItselfSaysWhatItIsAndListsTheCallsItServes) {
  host_.start();
  ASSERT_TRUE(waitUntil([&] { return !visibleWindow().empty(); }, 3s)) << "no window of the host within 3 s";
  EXPECT_TRUE(hostShows("QUILLON Remote App", "label"));
  EXPECT_TRUE(hostShows("it serves the interface over the link, and no interface is connected.", "label", true));
  EXPECT_TRUE(hostShows(host_.socketPath(), "label", true));
  EXPECT_TRUE(hostShows("QUILLON_INTERFACE_SOCKET=" + host_.socketPath() +
                            " quillon-call assembly::getExecutingAssemblyPath",
                        "label"));

  auto client = connectTo(host_);
  ASSERT_TRUE(client);
  for (const char* method : {"assembly::getExecutingAssemblyPath", "process::getCurrentProcessId",
                             "window::getScreenBounds"}) {
    EXPECT_TRUE(callHost(*client, kNativeCommandChannel, method).isSuccess()) << method;
  }
  for (const char* method : {"assembly::getExecutingAssemblyPath", "process::getCurrentProcessId",
                             "window::getScreenBounds"}) {
    EXPECT_TRUE(hostShows(method, "table cell")) << method;
  }
  EXPECT_TRUE(hostShows("and 1 interface is connected.", "label", true));

  // The close button offers the quit to the interface, which decides...
  pressClose();
  EXPECT_EQ(nextHostCall(*client), kCloseRequest);
  EXPECT_TRUE(running(host_));
  // ... and, with no interface connected, ends the host.
  client.reset();
  EXPECT_TRUE(hostShows("and no interface is connected.", "label", true));
  pressClose();
  EXPECT_EQ(host_.waitExit(kAnswerTime), 0);
}

// The window has no title bar of the window manager: dragged by the view's
// header, it moves as by a title bar.
TEST_F(StandInViewTest, DraggedByItsHeaderTheWindowMoves) {
  if (std::getenv("WAYLAND_DISPLAY") != nullptr) {
    GTEST_SKIP() << "a Wayland compositor moves windows for its own pointer, not for one typed into XWayland";
  }
  host_.start();
  std::string window;
  ASSERT_TRUE(waitUntil([&] { return !(window = visibleWindow()).empty(); }, 10s));
  const auto origin = [&] {
    const std::string numbers = tool("xwininfo -id " + window +
                                     " | awk '/Absolute upper-left X/{x=$4} /Absolute upper-left Y/{y=$4} END{print x, y}'");
    std::istringstream in(numbers);
    std::pair<int, int> point{};
    in >> point.first >> point.second;
    return point;
  };
  const auto before = origin();
  // Device pixels from the window's corner: within the header at any scale, clear of the close button.
  for (const char* step : {"mousemove --sync --window WINDOW 400 20", "mousedown 1", "mousemove_relative --sync 40 30",
                           "mousemove_relative --sync 40 30", "mouseup 1"}) {
    std::string command = std::string("xdotool ") + step;
    if (const auto at = command.find("WINDOW"); at != std::string::npos) command.replace(at, 6, window);
    tool(command);
    std::this_thread::sleep_for(300ms);
  }
  // By as much as the pointer moved once the window manager took the move
  // over: both steps, or the second alone when the first came before it did.
  const auto movedWithThePointer = [&](std::pair<int, int> after) {
    const int right = after.first - before.first, down = after.second - before.second;
    return (right == 80 && down == 60) || (right == 40 && down == 30);
  };
  std::pair<int, int> after;
  EXPECT_TRUE(waitUntil([&] { return movedWithThePointer(after = origin()); }, 5s))
      << before.first << "," << before.second << " -> " << after.first << "," << after.second;
}

}  // namespace
}  // namespace quillon::testing
