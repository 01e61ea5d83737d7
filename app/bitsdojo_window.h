// BitsdojoWindow: the window class of the window-chrome plug-in, a main window
// whose frame and visibility the interface controls. A subclass answers its
// configuration bits; the base wake-up applies them.
//
// Contract: main thread only. The window owns its native window (none without
// a display) and its content view controller; every operation on the native
// window answers false, or nothing, when there is none.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "app/flutter_view_controller.h"
#include "platform/native_window.h"

namespace quillon {

class BitsdojoWindow {
 public:
  // Configuration bits of bitsdojo_window_configure().
  static constexpr unsigned kCustomFrame = 1;
  static constexpr unsigned kHideOnStartup = 2;

  explicit BitsdojoWindow(std::unique_ptr<NativeWindow> native) : native_(std::move(native)) {}
  BitsdojoWindow(const BitsdojoWindow&) = delete;
  BitsdojoWindow& operator=(const BitsdojoWindow&) = delete;
  virtual ~BitsdojoWindow() = default;

  virtual unsigned bitsdojo_window_configure() const { return 0; }

  // Applies the configuration: the custom frame, and showing the window unless
  // it stays hidden until the interface shows it.
  virtual void awakeFromNib();

  FlutterViewController* contentViewController() const { return contentViewController_.get(); }
  void setContentViewController(std::unique_ptr<FlutterViewController> controller);

  bool hasNativeWindow() const { return native_ != nullptr; }

  // The window's number (a `WindowHandle`); none without a display.
  std::optional<std::int64_t> windowHandle() const;

  // None without a display.
  std::optional<WindowFrame> frame() const;
  void setFrame(const WindowFrame& frame);

  // False without a display.
  bool show();
  bool hide();
  bool isVisible() const;

  // Whether an interface has asked the window plug-in about this window:
  // from then on it alone decides when the window shows.
  bool controlledByInterface() const { return controlledByInterface_; }
  void setControlledByInterface() { controlledByInterface_ = true; }

  // For another launch of the application (startupId: its desktop startup
  // notification, or empty): a shown window comes forward and the answer is
  // true; a hidden one stays hidden, as the interface decides when it shows.
  // False without a display.
  bool bringForward(const std::string& startupId);

 protected:
  NativeWindow* nativeWindow() const { return native_.get(); }

 private:
  std::unique_ptr<NativeWindow> native_;
  std::unique_ptr<FlutterViewController> contentViewController_;
  bool controlledByInterface_ = false;
};

}  // namespace quillon
