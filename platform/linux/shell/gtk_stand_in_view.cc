#include "platform/linux/shell/gtk_stand_in_view.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "traffic/stand_in_text.h"

// Generated from stand_in.gresource.xml (built as C++): the application's icon.
void quillon_stand_in_register_resource();

namespace quillon {
namespace {

enum Column : int { kSequence, kTime, kChannel, kMethod, kArguments, kAnswer, kTook, kWaiting, kColumnCount };

struct ListColumn {
  const char* title;
  Column column;
  int width;  // points
  bool code;  // in the monospace font
};

// 1,036 points: the described window less the view's margins.
constexpr std::array kListColumns{
    ListColumn{"Time", kTime, 96, false},      ListColumn{"Channel", kChannel, 230, false},
    ListColumn{"Method", kMethod, 250, false}, ListColumn{"Arguments", kArguments, 240, true},
    ListColumn{"Answer", kAnswer, 150, false}, ListColumn{"Took", kTook, 70, false},
};

constexpr const char* kWaitingText = "waiting";

constexpr const char* kStyle = R"(
.quillon-stand-in-header { background-color: #1c3f8f; }
.quillon-stand-in-header label, .quillon-stand-in-header button { color: #ffffff; }
.quillon-stand-in-name { font-size: 20px; font-weight: bold; }
.quillon-stand-in-heading { font-weight: bold; }
.quillon-stand-in-key { opacity: 0.7; }
.quillon-stand-in-code { font-family: monospace; }
)";

// The icon built into the host, in the icon theme, and the view's style: once
// per process, on the display's screen.
void prepareDesktop() {
  static bool prepared = false;
  if (std::exchange(prepared, true)) return;
  quillon_stand_in_register_resource();
  gtk_icon_theme_add_resource_path(gtk_icon_theme_get_default(), "/app/quillon/RemoteApp/icons");
  g_autoptr(GtkCssProvider) style = gtk_css_provider_new();
  gtk_css_provider_load_from_data(style, kStyle, -1, nullptr);
  gtk_style_context_add_provider_for_screen(gdk_screen_get_default(), GTK_STYLE_PROVIDER(style),
                                            GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

void addClass(GtkWidget* widget, const char* name) { gtk_style_context_add_class(gtk_widget_get_style_context(widget), name); }

void nameForScreenReaders(GtkWidget* widget, const std::string& name) {
  atk_object_set_name(gtk_widget_get_accessible(widget), name.c_str());
}

GtkWidget* label(const std::string& text, const char* styleClass = nullptr) {
  GtkWidget* widget = gtk_label_new(text.c_str());
  gtk_label_set_xalign(GTK_LABEL(widget), 0.0F);
  if (styleClass != nullptr) addClass(widget, styleClass);
  return widget;
}

// A text to copy: selectable with the pointer, but never focused, so that it
// is not selected whole when the window takes the keyboard.
GtkWidget* copyableLabel(const std::string& text, const char* styleClass = nullptr) {
  GtkWidget* widget = label(text, styleClass);
  gtk_label_set_selectable(GTK_LABEL(widget), TRUE);
  gtk_widget_set_can_focus(widget, FALSE);
  gtk_label_set_ellipsize(GTK_LABEL(widget), PANGO_ELLIPSIZE_MIDDLE);
  gtk_widget_set_hexpand(widget, TRUE);
  return widget;
}

void setMargins(GtkWidget* widget, int vertical, int horizontal) {
  gtk_widget_set_margin_top(widget, vertical);
  gtk_widget_set_margin_bottom(widget, vertical);
  gtk_widget_set_margin_start(widget, horizontal);
  gtk_widget_set_margin_end(widget, horizontal);
}

// The window has no title bar of the window manager: a press in the header
// hands the window to the window manager to move, as a title bar would.
gboolean beginMove(GtkWidget* widget, GdkEventButton* event, gpointer) {
  if (event->type != GDK_BUTTON_PRESS || event->button != GDK_BUTTON_PRIMARY) return FALSE;
  gtk_window_begin_move_drag(GTK_WINDOW(gtk_widget_get_toplevel(widget)), static_cast<gint>(event->button),
                             static_cast<gint>(event->x_root), static_cast<gint>(event->y_root), event->time);
  return TRUE;
}

std::string tookText(const CallSummary& call) { return call.took ? duration(*call.took) : ""; }

}  // namespace

GtkStandInView::GtkStandInView(StandInContent content, CallLog& calls, std::function<void()> closePressed)
    : content_(std::move(content)), calls_(calls), closePressed_(std::move(closePressed)) {}

GtkWidget* GtkStandInView::widget() {
  if (!root_) build();
  return root_.get();
}

void GtkStandInView::build() {
  prepareDesktop();
  root_.reset(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0));
  g_object_ref_sink(root_.get());
  gtk_box_pack_start(GTK_BOX(root_.get()), header(), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(root_.get()), body(), TRUE, TRUE, 0);
  gtk_widget_show_all(root_.get());
  g_signal_connect(root_.get(), "realize", G_CALLBACK(&GtkStandInView::onRealized), this);
  refresh();
  refreshToDraw_ = false;  // the window's first frame is no refresh's
  calls_.setChangeListener([this] { logChanged(); });
}

GtkStandInView::~GtkStandInView() {
  if (!root_) return;
  calls_.setChangeListener(nullptr);
  if (refreshSource_ != 0) g_source_remove(refreshSource_);
  g_signal_handlers_disconnect_matched(closeButton_, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
  g_signal_handlers_disconnect_matched(root_.get(), G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
  if (frameClock_ != nullptr) {
    g_signal_handlers_disconnect_matched(frameClock_, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
    g_object_unref(frameClock_);
  }
}

void GtkStandInView::releaseWidget(GtkWidget* widget) { g_object_unref(widget); }

GtkWidget* GtkStandInView::header() {
  GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
  setMargins(row, 12, 16);
  GtkWidget* icon = gtk_image_new_from_icon_name(content_.iconName.c_str(), GTK_ICON_SIZE_DIALOG);
  gtk_image_set_pixel_size(GTK_IMAGE(icon), 48);
  nameForScreenReaders(icon, "Icon of " + content_.applicationName);
  gtk_box_pack_start(GTK_BOX(row), icon, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(row), label(content_.applicationName, "quillon-stand-in-name"), FALSE, FALSE, 0);

  closeButton_ = gtk_button_new_from_icon_name("window-close-symbolic", GTK_ICON_SIZE_LARGE_TOOLBAR);
  gtk_button_set_relief(GTK_BUTTON(closeButton_), GTK_RELIEF_NONE);
  gtk_widget_set_valign(closeButton_, GTK_ALIGN_CENTER);
  gtk_widget_set_tooltip_text(closeButton_, "Close");
  nameForScreenReaders(closeButton_, "Close");
  g_signal_connect(closeButton_, "clicked", G_CALLBACK(&GtkStandInView::onClosePressed), this);
  gtk_box_pack_end(GTK_BOX(row), closeButton_, FALSE, FALSE, 0);

  GtkWidget* area = gtk_event_box_new();
  addClass(area, "quillon-stand-in-header");
  gtk_widget_add_events(area, GDK_BUTTON_PRESS_MASK);
  g_signal_connect(area, "button-press-event", G_CALLBACK(beginMove), nullptr);
  gtk_container_add(GTK_CONTAINER(area), row);
  return area;
}

GtkWidget* GtkStandInView::body() {
  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
  setMargins(box, 20, 24);
  GtkWidget* sentence = label("");
  sentence_ = GTK_LABEL(sentence);
  gtk_label_set_line_wrap(sentence_, TRUE);
  gtk_box_pack_start(GTK_BOX(box), sentence, FALSE, FALSE, 0);

  GtkWidget* facts = gtk_grid_new();
  gtk_grid_set_row_spacing(GTK_GRID(facts), 6);
  gtk_grid_set_column_spacing(GTK_GRID(facts), 16);
  gtk_grid_attach(GTK_GRID(facts), label("Socket", "quillon-stand-in-key"), 0, 0, 1, 1);
  gtk_grid_attach(GTK_GRID(facts), copyableLabel(content_.socketPath, "quillon-stand-in-code"), 1, 0, 1, 1);
  gtk_grid_attach(GTK_GRID(facts), label("Call it", "quillon-stand-in-key"), 0, 1, 1, 1);
  gtk_grid_attach(GTK_GRID(facts), copyableLabel(content_.callLine, "quillon-stand-in-code"), 1, 1, 1, 1);
  gtk_box_pack_start(GTK_BOX(box), facts, FALSE, FALSE, 0);

  GtkWidget* heading = label("Latest calls", "quillon-stand-in-heading");
  gtk_widget_set_margin_top(heading, 8);
  gtk_box_pack_start(GTK_BOX(box), heading, FALSE, FALSE, 0);
  GtkWidget* list = callList();
  // Its heading names the list for screen readers.
  gtk_label_set_mnemonic_widget(GTK_LABEL(heading), list);
  nameForScreenReaders(list, "Latest calls");
  GtkWidget* scrolled = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_scrolled_window_set_shadow_type(GTK_SCROLLED_WINDOW(scrolled), GTK_SHADOW_IN);
  // Classic scroll bars: overlay ones fade in and out at every change of the
  // list, a dozen frames each.
  gtk_scrolled_window_set_overlay_scrolling(GTK_SCROLLED_WINDOW(scrolled), FALSE);
  gtk_container_add(GTK_CONTAINER(scrolled), list);
  gtk_box_pack_start(GTK_BOX(box), scrolled, TRUE, TRUE, 0);
  return box;
}

GtkWidget* GtkStandInView::callList() {
  rows_ = gtk_list_store_new(kColumnCount, G_TYPE_UINT64, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING,
                             G_TYPE_STRING, G_TYPE_STRING, G_TYPE_BOOLEAN);
  GtkWidget* list = gtk_tree_view_new_with_model(GTK_TREE_MODEL(rows_));
  g_object_unref(rows_);  // the list holds it
  list_ = GTK_TREE_VIEW(list);
  for (const ListColumn& described : kListColumns) {
    GtkCellRenderer* text = gtk_cell_renderer_text_new();
    g_object_set(text, "ellipsize", PANGO_ELLIPSIZE_END, nullptr);
    if (described.code) g_object_set(text, "family", "monospace", nullptr);
    GtkTreeViewColumn* column =
        gtk_tree_view_column_new_with_attributes(described.title, text, "text", described.column, nullptr);
    gtk_tree_view_column_set_sizing(column, GTK_TREE_VIEW_COLUMN_FIXED);
    gtk_tree_view_column_set_fixed_width(column, described.width);
    gtk_tree_view_column_set_resizable(column, TRUE);
    gtk_tree_view_column_set_expand(column, described.column == kArguments ? TRUE : FALSE);
    gtk_tree_view_append_column(list_, column);
  }
  // Rows of one height: the list lays out only what it shows.
  gtk_tree_view_set_fixed_height_mode(list_, TRUE);
  gtk_tree_view_set_enable_search(list_, FALSE);
  return list;
}

void GtkStandInView::logChanged() {
  if (refreshSource_ != 0) return;
  const auto interval = std::clamp(std::chrono::ceil<std::chrono::milliseconds>(lastCost_ * kCostShare),
                                   kRefreshInterval, kLongestInterval);
  refreshSource_ = g_timeout_add(static_cast<guint>(interval.count()), &GtkStandInView::onRefreshTime, this);
}

int GtkStandInView::onRefreshTime(void* self) {
  auto* view = static_cast<GtkStandInView*>(self);
  view->refreshSource_ = 0;
  if (view->onScreen() && view->calls_.changed()) view->refresh();
  return G_SOURCE_REMOVE;
}

// The window's frame after a refresh (layout and painting) shows it: it counts
// in what the refresh costs.
void GtkStandInView::onRealized(GtkWidget* root, void* self) {
  auto* view = static_cast<GtkStandInView*>(self);
  GdkFrameClock* clock = gtk_widget_get_frame_clock(root);
  if (clock == nullptr || clock == view->frameClock_) return;
  view->frameClock_ = g_object_ref(clock);
  g_signal_connect(clock, "before-paint", G_CALLBACK(&GtkStandInView::onFrameStarted), view);
  g_signal_connect(clock, "after-paint", G_CALLBACK(&GtkStandInView::onFrameDone), view);
}

void GtkStandInView::onFrameStarted(void*, void* self) {
  static_cast<GtkStandInView*>(self)->frameStarted_ = g_get_monotonic_time();
}

void GtkStandInView::onFrameDone(void*, void* self) {
  auto* view = static_cast<GtkStandInView*>(self);
  if (!view->refreshToDraw_) return;
  view->refreshToDraw_ = false;
  view->lastCost_ = view->refreshCost_ + std::chrono::microseconds(g_get_monotonic_time() - view->frameStarted_);
}

void GtkStandInView::windowMapped() {
  if (root_ && calls_.changed()) refresh();
}

void GtkStandInView::onClosePressed(GtkWidget*, void* self) { static_cast<GtkStandInView*>(self)->closePressed_(); }

bool GtkStandInView::onScreen() const {
  if (!gtk_widget_get_mapped(root_.get())) return false;
  GdkWindow* window = gtk_widget_get_window(gtk_widget_get_toplevel(root_.get()));
  return window != nullptr && (gdk_window_get_state(window) & GDK_WINDOW_STATE_ICONIFIED) == 0;
}

void GtkStandInView::refresh() {
  const gint64 started = g_get_monotonic_time();
  calls_.markSeen();
  const std::size_t connections = calls_.connections();
  if (connections != shownConnections_) {
    gtk_label_set_text(sentence_, linkSentence(connections).c_str());
    shownConnections_ = connections;
  }
  showNewCalls();
  if (rowsWaiting_ > 0) showAnswers();
  refreshCost_ = std::chrono::microseconds(g_get_monotonic_time() - started);
  refreshToDraw_ = true;
}

// The calls that came since the last refresh go on top; those that left the
// log go from the bottom.
void GtkStandInView::showNewCalls() {
  const std::vector<const CallSummary*> calls = calls_.newestFirst();
  std::size_t fresh = 0;
  while (fresh < calls.size() && calls[fresh]->sequence > newestShown_) ++fresh;
  if (fresh == 0) return;
  if (fresh == calls.size()) {
    // Every row changes (a burst, or the first calls): each takes the call
    // of its place, and the list redraws what it shows, never laid out anew.
    GtkTreeIter row;
    gboolean valid = gtk_tree_model_get_iter_first(GTK_TREE_MODEL(rows_), &row);
    rowsWaiting_ = 0;
    for (const CallSummary* call : calls) {
      if (!valid) gtk_list_store_append(rows_, &row);
      writeRow(row, *call);
      if (valid) valid = gtk_tree_model_iter_next(GTK_TREE_MODEL(rows_), &row);
    }
  } else {
    for (std::size_t index = fresh; index-- > 0;) insertRow(0, *calls[index]);
    dropRowsFrom(static_cast<int>(calls.size()));
  }
  newestShown_ = calls.front()->sequence;
}

// Rows shown while their call waited get its answer once it has come.
void GtkStandInView::showAnswers() {
  GtkTreeModel* model = GTK_TREE_MODEL(rows_);
  GtkTreeIter row;
  for (gboolean valid = gtk_tree_model_get_iter_first(model, &row); valid && rowsWaiting_ > 0;
       valid = gtk_tree_model_iter_next(model, &row)) {
    gboolean waiting = FALSE;
    guint64 sequence = 0;
    gtk_tree_model_get(model, &row, kWaiting, &waiting, kSequence, &sequence, -1);
    const CallSummary* call = waiting ? calls_.find(sequence) : nullptr;
    if (call == nullptr || call->answer.empty()) continue;
    gtk_list_store_set(rows_, &row, kAnswer, call->answer.c_str(), kTook, tookText(*call).c_str(), kWaiting, FALSE, -1);
    --rowsWaiting_;
  }
}

void GtkStandInView::insertRow(int position, const CallSummary& call) {
  GtkTreeIter row;
  gtk_list_store_insert(rows_, &row, position);
  writeRow(row, call);
}

void GtkStandInView::writeRow(GtkTreeIter& row, const CallSummary& call) {
  const bool waiting = call.answer.empty();
  gtk_list_store_set(rows_, &row, kSequence, static_cast<guint64>(call.sequence), kTime,
                     timeOfDay(call.received).c_str(), kChannel, call.channel.c_str(), kMethod, call.method.c_str(),
                     kArguments, call.arguments.c_str(), kAnswer, waiting ? kWaitingText : call.answer.c_str(), kTook,
                     tookText(call).c_str(), kWaiting, waiting ? TRUE : FALSE, -1);
  if (waiting) ++rowsWaiting_;
}

void GtkStandInView::dropRowsFrom(int position) {
  GtkTreeModel* model = GTK_TREE_MODEL(rows_);
  GtkTreeIter row;
  if (!gtk_tree_model_iter_nth_child(model, &row, nullptr, position)) return;
  do {
    gboolean waiting = FALSE;
    gtk_tree_model_get(model, &row, kWaiting, &waiting, -1);
    if (waiting) --rowsWaiting_;
  } while (gtk_list_store_remove(rows_, &row));
}

}  // namespace quillon
