// GtkMainWindow: the application's main window on a GTK 3 desktop. It is
// created hidden with the title and frame it is given, and realized at once, so
// that it has its X window (its number) before it is first shown. The
// stand-in view fills it where the interface's view would be, from the first
// time it is shown, however it is shown. The quit
// shortcut (Ctrl+Q) and the window manager's close request (delete-event) are
// handed to the application as termination requests, and the window stays
// open: whether the application ends is decided elsewhere.
//
// The window keeps its place: every configure event while it is on the screen
// records where it stands, whoever moved it (the window manager, a pager, the
// host). However it is hidden (hide(), or any other gtk_widget_hide such as
// show command 0), it is mapped again at that place; a window manager that
// moves a window it maps anew (to keep it on the screen) is asked once more,
// when the map is done, to put it back.
//
// Contract: main thread only, after GTK has a display (see
// gtkDesktopAvailable()). The object owns its GtkWindow and destroys it; the
// callbacks run on the main loop while the object lives.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/c_owner.h"
#include "platform/linux/shell/gtk_stand_in_view.h"
#include "platform/native_window.h"

typedef struct _GtkWidget GtkWidget;

namespace quillon {

struct TerminationRequests {
  std::function<void()> quitCommand;  // Ctrl+Q
  std::function<void()> windowClosed;  // the window manager's close
};

class GtkMainWindow final : public NativeWindow {
 public:
  GtkMainWindow(const std::string& title, const WindowFrame& frame, TerminationRequests requests,
                std::unique_ptr<GtkStandInView> view);
  GtkMainWindow(const GtkMainWindow&) = delete;
  GtkMainWindow& operator=(const GtkMainWindow&) = delete;
  ~GtkMainWindow() override;

  std::int64_t number() const override;
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
  static int onConfigureEvent(GtkWidget* widget, void* event, void* self);
  static void onUnmap(GtkWidget* widget, void* self);
  static void onShow(GtkWidget* widget, void* self);
  static int onMapEvent(GtkWidget* widget, void* event, void* self);
  static void releaseWidget(GtkWidget* widget);
  void addView();

  std::unique_ptr<GtkStandInView> view_;
  COwner<GtkWidget, releaseWidget> window_;
  // Where the window stands, or stood when it was last hidden: its own area.
  WindowFrame frame_;
  // Between a hide and the end of the next map, configure events tell where the
  // window manager put the window, not where it belongs.
  bool placing_ = true;
  TerminationRequests requests_;
};

}  // namespace quillon
