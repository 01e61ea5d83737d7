#include "window/application_window.h"

#include <utility>

#include "window/non_modal_alert_window.h"
#include "window/show_command.h"
#include "window/whole_points.h"

namespace quillon {

namespace {

constexpr std::string_view kNoWindowList = "Error: Could not retrieve window list from Core Graphics.";

// The front-most entry of `processId` that has bounds; entries without bounds
// are passed over, so a later window of the process can still be chosen.
const WindowBounds* frontMostBoundsOf(const std::vector<WindowListEntry>& windows, std::int64_t processId) {
  for (const WindowListEntry& entry : windows) {
    if (entry.ownerProcessId != processId || !entry.bounds) continue;
    return &*entry.bounds;
  }
  return nullptr;
}

std::optional<WindowRect> wholePointRect(const WindowBounds& bounds) {
  const double x = bounds.x.value_or(0.0);
  const double y = bounds.y.value_or(0.0);
  const double right = x + bounds.width.value_or(0.0);
  const double bottom = y + bounds.height.value_or(0.0);
  const auto top = truncateToWholePoints(y);
  const auto left = truncateToWholePoints(x);
  const auto wholeBottom = truncateToWholePoints(bottom);
  const auto wholeRight = truncateToWholePoints(right);
  if (!top || !left || !wholeBottom || !wholeRight) return std::nullopt;
  return WindowRect{*top, *left, *wholeBottom, *wholeRight};
}

std::optional<ScreenDimensions> wholePointSize(const FrameRect& frame) {
  const auto width = truncateToWholePoints(frame.width);
  const auto height = truncateToWholePoints(frame.height);
  if (!width || !height) return std::nullopt;
  return ScreenDimensions{*width, *height};
}

// Keeps the window's origin and gives it the main screen's full size.
void maximise(const WindowServices& services, HostWindow& window) {
  const FrameRect current = window.frame();
  const auto screen = services.screens.mainScreen();
  const double width = screen ? screen->frame.width : 0.0;
  const double height = screen ? screen->frame.height : 0.0;
  window.setFrame(FrameRect{current.x, current.y, width, height});
  window.present();
}

void restore(HostWindow& window) {
  window.setFrame(window.frame());
  window.present();
}

bool act(const WindowServices& services, HostWindow& window, ShowCommand command) {
  switch (command) {
    case ShowCommand::hide:
      window.hide();
      return true;
    case ShowCommand::showNormal:
      window.present();
      return true;
    case ShowCommand::showMinimised:
    case ShowCommand::minimise:
      window.minimise();
      return true;
    case ShowCommand::maximise:
      maximise(services, window);
      return true;
    case ShowCommand::restore:
      restore(window);
      return true;
    case ShowCommand::showNoActivate:
    case ShowCommand::show:
    case ShowCommand::showMinimisedNoActivate:
    case ShowCommand::showNotActivated:
    case ShowCommand::showDefault:
    case ShowCommand::forceMinimise:
      return false;
  }
  return false;
}

}  // namespace

std::optional<WindowRect> ApplicationWindow::getWindowRect(const WindowServices& services, std::int64_t processId) {
  const auto windows = services.windowList.onScreenWindows();
  if (!windows) {
    services.diagnostics.printLine(kNoWindowList);
    return std::nullopt;
  }
  const WindowBounds* bounds = frontMostBoundsOf(*windows, processId);
  if (!bounds) return std::nullopt;
  return wholePointRect(*bounds);
}

bool ApplicationWindow::showWindow(const WindowServices& services, std::int64_t windowHandle, std::int64_t command) {
  auto windows = services.hostWindows.windows();
  for (const auto& window : windows) {
    if (window->number() != windowHandle) continue;
    const auto showCommand = showCommandFromCode(command);
    return showCommand && act(services, *window, *showCommand);
  }
  return false;
}

ScreenDimensions ApplicationWindow::getScreenBounds(const WindowServices& services) {
  const auto screen = services.screens.mainScreen();
  if (!screen) return ScreenDimensions{0, 0};
  return wholePointSize(screen->frame).value_or(ScreenDimensions{0, 0});
}

std::optional<ScreenDimensions> ApplicationWindow::getScreenWorkingAreaDimensions(const WindowServices& services) {
  const auto screen = services.screens.mainScreen();
  if (!screen) return std::nullopt;
  return wholePointSize(screen->visibleFrame);
}

void ApplicationWindow::showAlert(const WindowServices& services, std::string title, std::string message,
                                  std::int64_t timeout) {
  services.mainQueue.post([&services, title = std::move(title), message = std::move(message), timeout] {
    NonModalAlertWindow(services, title, message, timeout);
  });
}

}  // namespace quillon
