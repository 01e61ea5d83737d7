#include "platform/linux/desktop/gtk_alert_window.h"

#include <gdk/gdkx.h>

#include <algorithm>
#include <cmath>

#include "base/c_owner.h"
#include "platform/linux/desktop/gtk_desktop.h"
#include "platform/linux/desktop/line_break_hints.h"
#include "platform/linux/desktop/pango_text_measurer.h"

namespace quillon {

namespace {

gint wholePixels(double value) {
  return static_cast<gint>(std::clamp(std::lround(value), -65535L, 65535L));
}

void useFont(GtkLabel* label, const SystemFont& font) {
  const FontDescriptionPtr description = systemFontDescription(font);
  g_autoptr(PangoAttrList) attributes = pango_attr_list_new();
  pango_attr_list_insert(attributes, pango_attr_font_desc_new(description.get()));
  gtk_label_set_attributes(label, attributes);
}

GtkWidget* wrappedLabel(const std::string& text, const SystemFont& font) {
  GtkWidget* label = gtk_label_new(withLineBreakHints(text).c_str());
  gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_line_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
  gtk_label_set_lines(GTK_LABEL(label), -1);
  // The width comes from the constraints, not from the text's own length.
  gtk_label_set_max_width_chars(GTK_LABEL(label), 1);
  gtk_label_set_xalign(GTK_LABEL(label), 0.0F);
  gtk_label_set_yalign(GTK_LABEL(label), 0.0F);
  gtk_label_set_selectable(GTK_LABEL(label), FALSE);
  useFont(GTK_LABEL(label), font);
  return label;
}

void setSideInsets(GtkWidget* widget, double inset) {
  gtk_widget_set_margin_start(widget, wholePixels(inset));
  gtk_widget_set_margin_end(widget, wholePixels(inset));
}

// The one way an alert closes, whoever asks: OK, the title bar's close button
// (the window manager's delete request) or the automatic close. The first
// request destroys the window at once; a later one finds it closing and leaves
// it alone. (gtk_window_close only queues a delete event that holds no
// reference: two of them, or one overtaken by the window manager's, would
// reach a window already freed.)
constexpr const char* kClosingKey = "quillon-alert-closing";

void closeAlert(GtkWindow* window) {
  if (g_object_get_data(G_OBJECT(window), kClosingKey) != nullptr) return;
  g_object_set_data(G_OBJECT(window), kClosingKey, GINT_TO_POINTER(1));
  gtk_widget_destroy(GTK_WIDGET(window));
}

void okButtonClicked(GtkWindow* window) { closeAlert(window); }

gboolean deleteRequested(GtkWidget* widget, GdkEvent*, gpointer) {
  closeAlert(GTK_WINDOW(widget));
  return TRUE;  // handled: GTK must not destroy it a second time
}

// Escape closes the alert, as it closes GNOME's dialogs; Return and space
// press the focused OK button, as GTK makes them.
gboolean keyPressed(GtkWidget* widget, GdkEventKey* key, gpointer) {
  const guint modifiers = key->state & static_cast<guint>(gtk_accelerator_get_default_mod_mask());
  if (key->keyval != GDK_KEY_Escape || modifiers != 0) return FALSE;
  closeAlert(GTK_WINDOW(widget));
  return TRUE;
}

GtkWidget* okButton(const AlertContent& content, GtkWindow* window) {
  GtkWidget* button = gtk_button_new_with_label(content.buttonTitle.c_str());
  useFont(GTK_LABEL(gtk_bin_get_child(GTK_BIN(button))), content.buttonFont);
  gtk_widget_set_size_request(button, wholePixels(content.constraints.buttonWidth),
                              wholePixels(content.constraints.buttonHeight));
  gtk_widget_set_halign(button, GTK_ALIGN_CENTER);
  gtk_widget_set_margin_top(button, wholePixels(content.constraints.buttonTop));
  gtk_widget_set_margin_bottom(button, wholePixels(content.constraints.buttonBottom));
  g_signal_connect_swapped(button, "clicked", G_CALLBACK(okButtonClicked), window);
  return button;
}

class GtkAlertWindow final : public AlertWindow {
 public:
  GtkAlertWindow(GtkWindow* window, const AlertWindowStyle& style)
      : window_(GTK_WINDOW(g_object_ref(window))), width_(style.contentWidth), height_(style.contentHeight) {}

  // Before it is shown the window has no decoration yet: its frame is its content.
  FrameRect frame() const override {
    gint x = 0;
    gint y = 0;
    gtk_window_get_position(window_.get(), &x, &y);
    return FrameRect{static_cast<double>(x), desktopHeight() - (y + height_), width_, height_};
  }

  void setFrameOrigin(double x, double y) override {
    gtk_window_move(window_.get(), wholePixels(x), wholePixels(desktopHeight() - (y + height_)));
  }

  void centre() override { gtk_window_set_position(window_.get(), GTK_WIN_POS_CENTER); }

  void setContent(const AlertContent& content) override {
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_widget_set_size_request(box, wholePixels(width_), wholePixels(height_));

    GtkWidget* title = wrappedLabel(content.title, content.titleFont);
    gtk_widget_set_margin_top(title, wholePixels(content.constraints.titleTop));
    setSideInsets(title, content.constraints.sideInset);

    GtkWidget* message = wrappedLabel(content.message, content.messageFont);
    gtk_widget_set_margin_top(message, wholePixels(content.constraints.messageTop));
    setSideInsets(message, content.constraints.sideInset);
    gtk_widget_set_vexpand(message, TRUE);

    gtk_box_pack_start(GTK_BOX(box), title, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), message, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(box), okButton(content, window_.get()), FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(window_.get()), box);

    // A screen reader announces it as an alert with its own title and message
    // (the window's title names the application alone).
    AtkObject* accessible = gtk_widget_get_accessible(GTK_WIDGET(window_.get()));
    atk_object_set_role(accessible, ATK_ROLE_ALERT);
    atk_object_set_name(accessible, content.title.c_str());
    atk_object_set_description(accessible, content.message.c_str());
  }

  void makeKeyAndOrderFront() override {
    GtkWidget* widget = GTK_WIDGET(window_.get());
    gtk_widget_show_all(widget);
    gtk_window_present_with_time(window_.get(), gdk_x11_get_server_time(gtk_widget_get_window(widget)));
  }

  OnceCallback<void()> closeIfStillOpen() override {
    WeakWindow weak(new GWeakRef);
    g_weak_ref_init(weak.get(), window_.get());
    return [weak = std::move(weak)] {
      // Gone: nothing to do; closing or destroyed but still referenced
      // elsewhere: closeAlert leaves it alone.
      g_autoptr(GObject) object = static_cast<GObject*>(g_weak_ref_get(weak.get()));
      if (object != nullptr) closeAlert(GTK_WINDOW(object));
    };
  }

 private:
  static void releaseWeakRef(GWeakRef* reference) {
    g_weak_ref_clear(reference);
    delete reference;
  }
  using WeakWindow = COwner<GWeakRef, releaseWeakRef>;

  COwner<GtkWindow, g_object_unref> window_;
  double width_;
  double height_;
};

}  // namespace

std::unique_ptr<AlertWindow> GtkAlertWindowFactory::create(const AlertWindowStyle& style) {
  if (!gtkDesktopAvailable()) return nullptr;
  GtkWidget* widget = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  GtkWindow* window = GTK_WINDOW(widget);
  gtk_window_set_title(window, style.title.c_str());
  gtk_window_set_type_hint(window, GDK_WINDOW_TYPE_HINT_DIALOG);
  gtk_window_set_keep_above(window, style.floating ? TRUE : FALSE);
  gtk_window_set_deletable(window, style.closable ? TRUE : FALSE);
  gtk_window_set_resizable(window, style.resizable ? TRUE : FALSE);
  g_signal_connect(widget, "delete-event", G_CALLBACK(deleteRequested), nullptr);
  g_signal_connect(widget, "key-press-event", G_CALLBACK(keyPressed), nullptr);
  gtk_widget_realize(widget);
  auto functions = static_cast<unsigned>(GDK_FUNC_MOVE);
  if (style.closable) functions |= GDK_FUNC_CLOSE;
  if (style.resizable) functions |= GDK_FUNC_RESIZE;
  if (style.minimisable) functions |= GDK_FUNC_MINIMIZE;
  gdk_window_set_functions(gtk_widget_get_window(widget), static_cast<GdkWMFunction>(functions));
  return std::make_unique<GtkAlertWindow>(window, style);
}

}  // namespace quillon
