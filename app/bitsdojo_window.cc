#include "app/bitsdojo_window.h"

namespace quillon {

void BitsdojoWindow::awakeFromNib() {
  if (!native_) return;
  const unsigned configuration = bitsdojo_window_configure();
  if ((configuration & kCustomFrame) != 0) native_->useCustomFrame();
  if ((configuration & kHideOnStartup) == 0) native_->show();
}

void BitsdojoWindow::setContentViewController(std::unique_ptr<FlutterViewController> controller) {
  contentViewController_ = std::move(controller);
  if (contentViewController_) contentViewController_->attachTo(*this);
}

std::optional<std::int64_t> BitsdojoWindow::windowHandle() const {
  if (!native_) return std::nullopt;
  return native_->number();
}

std::optional<WindowFrame> BitsdojoWindow::frame() const {
  if (!native_) return std::nullopt;
  return native_->frame();
}

void BitsdojoWindow::setFrame(const WindowFrame& frame) {
  if (native_) native_->setFrame(frame);
}

bool BitsdojoWindow::show() {
  if (!native_) return false;
  native_->show();
  return true;
}

bool BitsdojoWindow::hide() {
  if (!native_) return false;
  native_->hide();
  return true;
}

bool BitsdojoWindow::isVisible() const { return native_ && native_->isVisible(); }

bool BitsdojoWindow::bringForward(const std::string& startupId) {
  if (!native_) return false;
  if (!native_->isVisible()) {
    native_->endStartupNotification(startupId);
    return false;
  }
  native_->bringForward(startupId);
  return true;
}

}  // namespace quillon
