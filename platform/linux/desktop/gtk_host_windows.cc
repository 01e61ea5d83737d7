#include "platform/linux/desktop/gtk_host_windows.h"

#include <gdk/gdkx.h>

#include <algorithm>
#include <cmath>

#include "base/c_owner.h"
#include "platform/linux/desktop/gtk_desktop.h"

namespace quillon {

namespace {

gint wholePixels(double value) {
  return static_cast<gint>(std::clamp(std::lround(value), -65535L, 65535L));
}

// Holds a reference on the GtkWindow for as long as the handle lives, so that a
// window destroyed meanwhile is still safe to ask (it then has no frame to change).
class GtkHostWindow final : public HostWindow {
 public:
  explicit GtkHostWindow(GtkWindow* window) : window_(GTK_WINDOW(g_object_ref(window))) {}

  std::int64_t number() const override { return static_cast<std::int64_t>(gdk_x11_window_get_xid(gdkWindow())); }

  FrameRect frame() const override {
    GdkRectangle outer{};
    gdk_window_get_frame_extents(gdkWindow(), &outer);
    return FrameRect{static_cast<double>(outer.x), desktopHeight() - static_cast<double>(outer.y + outer.height),
                     static_cast<double>(outer.width), static_cast<double>(outer.height)};
  }

  void hide() override { gtk_widget_hide(GTK_WIDGET(window_.get())); }

  // The X server's current time lets the window manager's focus-stealing
  // prevention see a fresh user request rather than an old one.
  void present() override { gtk_window_present_with_time(window_.get(), gdk_x11_get_server_time(gdkWindow())); }

  void minimise() override { gtk_window_iconify(window_.get()); }

  // GTK positions the outer frame (north-west gravity) but sizes the inside, so
  // the decoration is taken off the requested size.
  void setFrame(const FrameRect& target) override {
    const FrameRect current = frame();
    const double decorationWidth = current.width - gdk_window_get_width(gdkWindow());
    const double decorationHeight = current.height - gdk_window_get_height(gdkWindow());
    const double top = desktopHeight() - (target.y + target.height);
    gtk_window_move(window_.get(), wholePixels(target.x), wholePixels(top));
    gtk_window_resize(window_.get(), std::max(1, wholePixels(target.width - decorationWidth)),
                      std::max(1, wholePixels(target.height - decorationHeight)));
    gtk_widget_queue_draw(GTK_WIDGET(window_.get()));
  }

 private:
  GdkWindow* gdkWindow() const { return gtk_widget_get_window(GTK_WIDGET(window_.get())); }

  COwner<GtkWindow, g_object_unref> window_;
};

// Realized top-level windows have an X window and so a number; popups are not
// windows of the host in this sense.
bool isNumberedToplevel(GtkWindow* window) {
  GdkWindow* gdkWindow = gtk_widget_get_window(GTK_WIDGET(window));
  return gtk_window_get_window_type(window) == GTK_WINDOW_TOPLEVEL && gdkWindow != nullptr &&
         GDK_IS_X11_WINDOW(gdkWindow);
}

}  // namespace

std::vector<std::unique_ptr<HostWindow>> GtkHostWindows::windows() {
  std::vector<std::unique_ptr<HostWindow>> windows;
  if (!gtkDesktopAvailable()) return windows;
  g_autoptr(GList) toplevels = gtk_window_list_toplevels();
  for (GList* item = toplevels; item != nullptr; item = item->next) {
    GtkWindow* window = GTK_WINDOW(item->data);
    if (isNumberedToplevel(window)) windows.push_back(std::make_unique<GtkHostWindow>(window));
  }
  return windows;
}

std::unique_ptr<HostWindow> GtkHostWindows::keyWindow() {
  if (!gtkDesktopAvailable()) return nullptr;
  GtkWindow* window = activeHostWindow();
  if (window == nullptr || !isNumberedToplevel(window)) return nullptr;
  return std::make_unique<GtkHostWindow>(window);
}

}  // namespace quillon
