#include "platform/linux/shell/gtk_main_window.h"

#include <gdk/gdkx.h>
#include <gtk/gtk.h>

#include <limits>

namespace quillon {
namespace {

GtkWindow* asWindow(GtkWidget* widget) { return reinterpret_cast<GtkWindow*>(widget); }

gint toGint(std::int64_t value) {
  if (value < std::numeric_limits<gint>::min()) return std::numeric_limits<gint>::min();
  if (value > std::numeric_limits<gint>::max()) return std::numeric_limits<gint>::max();
  return static_cast<gint>(value);
}

template <typename Handler>
void connect(GtkWidget* widget, const char* signal, Handler handler, void* self,
             GConnectFlags flags = GConnectFlags{}) {
  g_signal_connect_data(widget, signal, reinterpret_cast<GCallback>(handler), self, nullptr, flags);
}

}  // namespace

GtkMainWindow::GtkMainWindow(const std::string& title, const WindowFrame& frame, TerminationRequests requests,
                             std::unique_ptr<GtkStandInView> view)
    : view_(std::move(view)), window_(gtk_window_new(GTK_WINDOW_TOPLEVEL)), frame_(frame), requests_(std::move(requests)) {
  g_object_ref_sink(window_.get());
  gtk_window_set_title(asWindow(window_.get()), title.c_str());
  setFrame(frame);
  connect(window_.get(), "delete-event", &GtkMainWindow::onDeleteEvent, this);
  connect(window_.get(), "key-press-event", &GtkMainWindow::onKeyPress, this);
  connect(window_.get(), "configure-event", &GtkMainWindow::onConfigureEvent, this);
  connect(window_.get(), "map-event", &GtkMainWindow::onMapEvent, this);
  // However it is shown (show(), a show command, a second launch), and only then.
  connect(window_.get(), "show", &GtkMainWindow::onShow, this);
  // After GTK's own unmap, which forgets the position it was asked for.
  connect(window_.get(), "unmap", &GtkMainWindow::onUnmap, this, G_CONNECT_AFTER);
  // Its number from the start: the interface may show it by that number.
  gtk_widget_realize(window_.get());
}

GtkMainWindow::~GtkMainWindow() {
  g_signal_handlers_disconnect_matched(window_.get(), G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
  // The view lets go of its widgets while they are whole.
  view_.reset();
  gtk_widget_destroy(window_.get());
}

void GtkMainWindow::releaseWidget(GtkWidget* widget) { g_object_unref(widget); }

std::int64_t GtkMainWindow::number() const {
  return static_cast<std::int64_t>(gdk_x11_window_get_xid(gtk_widget_get_window(window_.get())));
}

WindowFrame GtkMainWindow::frame() const {
  GdkWindow* surface = gtk_widget_get_window(window_.get());
  if (surface == nullptr || !gtk_widget_get_mapped(window_.get()) || placing_) return frame_;
  gint x = 0, y = 0, width = 0, height = 0;
  gdk_window_get_origin(surface, &x, &y);
  gtk_window_get_size(asWindow(window_.get()), &width, &height);
  return WindowFrame{x, y, width, height};
}

void GtkMainWindow::setFrame(const WindowFrame& frame) {
  frame_ = frame;
  gtk_window_move(asWindow(window_.get()), toGint(frame.x), toGint(frame.y));
  gtk_window_resize(asWindow(window_.get()), toGint(frame.width), toGint(frame.height));
}

// Undecorated: the window manager draws neither a title bar nor its close,
// minimise and maximise buttons; the window keeps its size and position.
void GtkMainWindow::useCustomFrame() { gtk_window_set_decorated(asWindow(window_.get()), FALSE); }

void GtkMainWindow::show() {
  addView();
  gtk_widget_show_all(window_.get());
  gtk_window_present(asWindow(window_.get()));
}

void GtkMainWindow::hide() { gtk_widget_hide(window_.get()); }

bool GtkMainWindow::isVisible() const { return gtk_widget_get_visible(window_.get()); }

void GtkMainWindow::bringForward(const std::string& startupId) {
  // GTK puts the launch's id on the window, which tells the desktop that the
  // launch is complete and ends its busy cursor.
  if (!startupId.empty()) gtk_window_set_startup_id(asWindow(window_.get()), startupId.c_str());
  // With the X server's current time, so that focus-stealing prevention lets
  // the activation through, as for the show commands.
  GdkWindow* surface = gtk_widget_get_window(window_.get());
  gtk_window_present_with_time(asWindow(window_.get()),
                               surface != nullptr ? gdk_x11_get_server_time(surface) : GDK_CURRENT_TIME);
}

void GtkMainWindow::endStartupNotification(const std::string& startupId) {
  if (!startupId.empty()) gdk_notify_startup_complete_with_id(startupId.c_str());
}

int GtkMainWindow::onDeleteEvent(GtkWidget*, void*, void* self) {
  static_cast<GtkMainWindow*>(self)->requests_.windowClosed();
  return TRUE;  // the window stays; a granted termination ends the application instead
}

void GtkMainWindow::addView() {
  if (gtk_bin_get_child(reinterpret_cast<GtkBin*>(window_.get())) != nullptr) return;
  gtk_container_add(reinterpret_cast<GtkContainer*>(window_.get()), view_->widget());
}

void GtkMainWindow::onShow(GtkWidget*, void* self) { static_cast<GtkMainWindow*>(self)->addView(); }

int GtkMainWindow::onConfigureEvent(GtkWidget* widget, void* event, void* self) {
  auto* window = static_cast<GtkMainWindow*>(self);
  if (window->placing_ || !gtk_widget_get_mapped(widget)) return FALSE;
  const auto* configure = static_cast<const GdkEventConfigure*>(event);
  window->frame_ = WindowFrame{configure->x, configure->y, configure->width, configure->height};
  return FALSE;  // GTK still sees it
}

// Once mapped, the window asks once more for its recorded place: a window
// manager may have moved a window it mapped anew, to keep it on the screen.
int GtkMainWindow::onMapEvent(GtkWidget* widget, void*, void* self) {
  auto* window = static_cast<GtkMainWindow*>(self);
  window->view_->windowMapped();
  if (!window->placing_) return FALSE;
  window->placing_ = false;
  gtk_window_move(asWindow(widget), toGint(window->frame_.x), toGint(window->frame_.y));
  return FALSE;
}

// A hidden window has no position of its own for GTK: asked for the recorded
// one now, the next map, by whatever path, requests it.
void GtkMainWindow::onUnmap(GtkWidget* widget, void* self) {
  auto* window = static_cast<GtkMainWindow*>(self);
  window->placing_ = true;
  gtk_window_move(asWindow(widget), toGint(window->frame_.x), toGint(window->frame_.y));
}

int GtkMainWindow::onKeyPress(GtkWidget*, void* event, void* self) {
  const auto* key = static_cast<const GdkEventKey*>(event);
  const guint modifiers = key->state & static_cast<guint>(gtk_accelerator_get_default_mod_mask());
  const bool control = modifiers == static_cast<guint>(GDK_CONTROL_MASK);
  if (!control || gdk_keyval_to_lower(key->keyval) != GDK_KEY_q) return FALSE;
  static_cast<GtkMainWindow*>(self)->requests_.quitCommand();
  return TRUE;
}

}  // namespace quillon
