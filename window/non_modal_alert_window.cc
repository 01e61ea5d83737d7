#include "window/non_modal_alert_window.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace quillon {

namespace {

constexpr AlertConstraints kConstraints{
    .titleTop = 10.0,
    .sideInset = 20.0,
    .messageTop = 10.0,
    .buttonTop = 10.0,
    .buttonBottom = 10.0,
    .buttonWidth = 80.0,
    .buttonHeight = 30.0,
};


void place(const WindowServices& services, AlertWindow& window) {
  const auto keyWindow = services.hostWindows.keyWindow();
  if (!keyWindow) {
    window.centre();
    return;
  }
  const FrameRect origin = NonModalAlertWindow::centredOver(keyWindow->frame(), window.frame());
  window.setFrameOrigin(origin.x, origin.y);
}

}  // namespace

double NonModalAlertWindow::contentHeight(double messageHeight, double titleHeight) {
  return ((std::min(messageHeight, kMessageHeightCap) + std::ceil(titleHeight)) + 50.0) + 30.0;
}

FrameRect NonModalAlertWindow::centredOver(const FrameRect& keyWindow, const FrameRect& alert) {
  return FrameRect{keyWindow.x + (keyWindow.width - alert.width) * 0.5,
                   keyWindow.y + (keyWindow.height - alert.height) * 0.5, alert.width, alert.height};
}

AlertWindowStyle NonModalAlertWindow::windowStyle(double height) {
  return AlertWindowStyle{
      .title = std::string(kWindowTitle),
      .contentWidth = kContentWidth,
      .contentHeight = height,
      .closable = true,
      .resizable = false,
      .minimisable = false,
      .floating = true,
  };
}

AlertContent NonModalAlertWindow::content(const std::string& title, const std::string& message) {
  return AlertContent{
      .title = title,
      .titleFont = kTitleFont,
      .message = message,
      .messageFont = kMessageFont,
      .buttonTitle = "OK",
      .buttonFont = kButtonFont,
      .constraints = kConstraints,
  };
}

NonModalAlertWindow::NonModalAlertWindow(const WindowServices& services, const std::string& title,
                                         const std::string& message, std::int64_t timeout) {
  const double messageHeight = services.textMeasurer.heightOf(message, kTextWidth, kMessageFont);
  const double titleHeight = services.textMeasurer.heightOf(title, kTextWidth, kTitleFont);
  window_ = services.alertWindows.create(windowStyle(contentHeight(messageHeight, titleHeight)));
  if (!window_) return;
  place(services, *window_);
  window_->setContent(content(title, message));
  window_->makeKeyAndOrderFront();
  if (timeout >= 1) services.mainQueue.postAfter(std::chrono::seconds(timeout), window_->closeIfStillOpen());
}

}  // namespace quillon
