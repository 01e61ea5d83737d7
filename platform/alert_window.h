// AlertWindow and AlertWindowFactory: the platform's side of the host's floating
// notice. The notice's arithmetic and layout rules live in NonModalAlertWindow;
// the platform builds the window, its labels and its OK button as told.
#pragma once

#include <memory>
#include <string>

#include "base/once_callback.h"
#include "platform/frame_rect.h"
#include "platform/text_measurer.h"

namespace quillon {

// How the window itself is made.
struct AlertWindowStyle {
  std::string title;
  double contentWidth = 0.0;
  double contentHeight = 0.0;
  bool closable = false;     // a close button in the title bar
  bool resizable = false;
  bool minimisable = false;
  bool floating = false;     // kept above ordinary windows

  friend bool operator==(const AlertWindowStyle&, const AlertWindowStyle&) = default;
};

// The layout of the content, as equalities between the content view, the two
// labels (title above message) and the OK button below them, all required:
//   title.top = content.top + titleTop
//   title.leading = content.leading + sideInset; title.trailing = content.trailing - sideInset
//   message.top = title.bottom + messageTop
//   message.leading = content.leading + sideInset; message.trailing = content.trailing - sideInset
//   button.top = message.bottom + buttonTop; button.centreX = content.centreX
//   button.bottom = content.bottom - buttonBottom
//   button.height = buttonHeight; button.width = buttonWidth
struct AlertConstraints {
  double titleTop = 0.0;
  double sideInset = 0.0;
  double messageTop = 0.0;
  double buttonTop = 0.0;
  double buttonBottom = 0.0;
  double buttonWidth = 0.0;
  double buttonHeight = 0.0;

  friend bool operator==(const AlertConstraints&, const AlertConstraints&) = default;
};

// The controls: static word-wrapped labels without a line limit, and a push
// button whose action closes the window.
struct AlertContent {
  std::string title;
  SystemFont titleFont;
  std::string message;
  SystemFont messageFont;
  std::string buttonTitle;
  SystemFont buttonFont;
  AlertConstraints constraints;

  friend bool operator==(const AlertContent&, const AlertContent&) = default;
};

// A handle to one alert window. Dropping the handle leaves the window on the
// screen: while it stands there, the window system holds it, nothing else.
class AlertWindow {
 public:
  virtual ~AlertWindow() = default;

  // The whole window as it would stand now, title bar included where known.
  virtual FrameRect frame() const = 0;
  virtual void setFrameOrigin(double x, double y) = 0;
  // Centres the window on the screen the platform's own way.
  virtual void centre() = 0;
  virtual void setContent(const AlertContent& content) = 0;
  // Shows the window, makes it key and brings it to the front.
  virtual void makeKeyAndOrderFront() = 0;
  // A job that closes the window if it still exists when the job runs. The job
  // holds the window only weakly: it never keeps a closed window alive and does
  // nothing to one the user has closed already.
  virtual OnceCallback<void()> closeIfStillOpen() = 0;
};

class AlertWindowFactory {
 public:
  virtual ~AlertWindowFactory() = default;
  // A new, not yet shown, alert window; nullptr when the platform can make no
  // window at all (no display).
  virtual std::unique_ptr<AlertWindow> create(const AlertWindowStyle& style) = 0;
};

}  // namespace quillon
