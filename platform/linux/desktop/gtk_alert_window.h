// GtkAlertWindowFactory: alerts as real GTK top-level windows. Each window is
// owned by GTK's list of top-level windows from creation until it is destroyed
// by the first close request (OK, Return or space on it, Escape, its close
// button, or the automatic close; any later request does nothing); the
// handles given out hold a reference only while they live. The content
// follows the constraint set with a vertical box and margins: the labels span
// the width less the side insets, the button is centred at its fixed size,
// and height beyond what the controls need goes below the message. Without a
// display no window is made. Screen readers find it as an alert named by its
// title, described by its message. Main thread only.
#pragma once

#include "platform/alert_window.h"

namespace quillon {

class GtkAlertWindowFactory final : public AlertWindowFactory {
 public:
  std::unique_ptr<AlertWindow> create(const AlertWindowStyle& style) override;
};

}  // namespace quillon
