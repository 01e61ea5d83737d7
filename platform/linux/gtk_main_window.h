// GtkMainWindow: the application's main window on a GTK 3 desktop. It is
// created hidden with the title and frame it is given; the quit shortcut
// (Ctrl+Q) and the window manager's close request (delete-event) are handed to
// the application as termination requests, and the window stays open: whether
// the application ends is decided elsewhere.
//
// Contract: main thread only, after GTK has a display (see
// gtkDesktopAvailable()). The object owns its GtkWindow and destroys it; the
// callbacks run on the main loop while the object lives.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/native_window.h"

typedef struct _GtkWidget GtkWidget;

namespace quillon {

struct TerminationRequests {
  std::function<void()> quitCommand;  // Ctrl+Q
  std::function<void()> windowClosed;  // the window manager's close
};

class GtkMainWindow final : public NativeWindow {
 public:
  GtkMainWindow(const std::string& title, const WindowFrame& frame, TerminationRequests requests);
  GtkMainWindow(const GtkMainWindow&) = delete;
  GtkMainWindow& operator=(const GtkMainWindow&) = delete;
  ~GtkMainWindow() override;

  WindowFrame frame() const override;
  void setFrame(const WindowFrame& frame) override;
  void useCustomFrame() override;
  void show() override;
  void hide() override;
  bool isVisible() const override;
  void bringForward(const std::string& startupId) override;
  void endStartupNotification(const std::string& startupId) override;

 private:
  static int onDeleteEvent(GtkWidget* widget, void* event, void* self);
  static int onKeyPress(GtkWidget* widget, void* event, void* self);

  GtkWidget* window_;
  WindowFrame frame_;
  TerminationRequests requests_;
};

}  // namespace quillon
