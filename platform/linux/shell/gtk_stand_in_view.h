// GtkStandInView: what the main window shows where the interface's view
// would be, since this build has none. A header with the application's icon
// and name, which moves the window when dragged (the window has no title bar
// of the window manager), and a close button; the sentence that says what
// this build does and how many interfaces are connected; the socket's path
// and the quillon-call line that calls the host; and the list of the latest
// calls on every channel, newest first (time, channel, method, arguments,
// answer, time taken), from the CallLog.
//
// The list costs the serving nothing it can avoid: the log tells the view
// that it changed, once; the view looks kRefreshInterval later, and only
// while the window is on the screen (mapped and not minimised). So it
// refreshes at most ten times a second, not at all while hidden, and shows
// what changed meanwhile once the window is shown again. A refresh adds the
// new calls at the top and drops those that left the log at the bottom;
// every row is text, copied from the log's summaries.
//
// Every text is a label or a cell that screen readers read (ATK); the icon
// and the close button are named, the list is labelled by its heading.
//
// Contract: main thread, after GTK has a display. The log must outlive the
// view; `closePressed` runs on the main loop while the view lives. The
// window that shows widget() calls windowMapped() whenever it is mapped.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/c_owner.h"
#include "inspector/call_log.h"

typedef struct _GtkWidget GtkWidget;
typedef struct _GtkLabel GtkLabel;
typedef struct _GtkListStore GtkListStore;
typedef struct _GtkTreeView GtkTreeView;

namespace quillon {

struct StandInContent {
  std::string applicationName;
  std::string iconName;  // of the icon theme, where the view finds the icon built into the host
  std::string socketPath;
  std::string callLine;
};

class GtkStandInView {
 public:
  static constexpr std::chrono::milliseconds kRefreshInterval{100};

  GtkStandInView(const StandInContent& content, CallLog& calls, std::function<void()> closePressed);
  GtkStandInView(const GtkStandInView&) = delete;
  GtkStandInView& operator=(const GtkStandInView&) = delete;
  ~GtkStandInView();

  GtkWidget* widget() const { return root_.get(); }
  void windowMapped();

 private:
  static void releaseWidget(GtkWidget* widget);
  static int onRefreshTime(void* self);
  static void onClosePressed(GtkWidget* button, void* self);

  GtkWidget* header(const StandInContent& content);
  GtkWidget* body(const StandInContent& content);
  GtkWidget* callList();
  void logChanged();
  bool onScreen() const;
  void refresh();
  void showNewCalls();
  void showAnswers();
  void insertRow(int position, const CallSummary& call);
  void dropRowsFrom(int position);

  CallLog& calls_;
  std::function<void()> closePressed_;
  COwner<GtkWidget, releaseWidget> root_;
  GtkWidget* closeButton_ = nullptr;
  GtkLabel* sentence_ = nullptr;
  GtkListStore* rows_ = nullptr;  // owned by the list's tree view
  GtkTreeView* list_ = nullptr;
  std::optional<std::size_t> shownConnections_;
  std::uint64_t newestShown_ = 0;  // the sequence of the call in the top row; 0 for none
  std::size_t rowsWaiting_ = 0;    // rows whose call had no answer yet when shown
  unsigned refreshSource_ = 0;
};

}  // namespace quillon
