// GtkStandInView: what the main window shows where the interface's view
// would be, since this build has none. A header with the application's icon
// and name, which moves the window when dragged (the window has no title bar
// of the window manager), and a close button; the sentence that says what
// this build does and how many interfaces are connected; the socket's path
// and the quillon-call line that calls the host; and the list of the latest
// calls on every channel, newest first (time, channel, method, arguments,
// answer, time taken), from the CallLog.
//
// The list costs the serving as little as it can: the log tells the view
// that it changed, once; the view looks kRefreshInterval later, or later
// still when the last refresh and the window's frame that showed it took
// long (a burst redraws every row): kCostShare times what they took, so the
// view keeps the main loop for a two-hundredth of its time at most, however
// slow the machine: too little for one call in a hundred to wait for it. It
// looks only while the window is on the screen (mapped and not minimised):
// so it refreshes at most ten times a second, not at all while hidden, and
// shows what changed meanwhile once the window is shown again. A refresh adds the
// new calls at the top and drops those that left the log at the bottom;
// every row is text, copied from the log's summaries.
//
// Every text is a label or a cell that screen readers read (ATK); the icon
// and the close button are named, the list is labelled by its heading.
//
// Nothing of it exists until widget() is first asked for, when its window is
// first shown: a window nobody has seen costs neither start-up time nor
// memory (fonts, styles, the accessibility bridge).
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
#include "traffic/call_log.h"

typedef struct _GtkWidget GtkWidget;
typedef struct _GtkLabel GtkLabel;
typedef struct _GtkListStore GtkListStore;
typedef struct _GtkTreeView GtkTreeView;
typedef struct _GtkTreeIter GtkTreeIter;

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
  static constexpr int kCostShare = 200;
  // On a machine so loaded that a refresh takes 100 ms, the list still
  // shows what changed within 5 s.
  static constexpr std::chrono::milliseconds kLongestInterval{5000};

  GtkStandInView(StandInContent content, CallLog& calls, std::function<void()> closePressed);
  GtkStandInView(const GtkStandInView&) = delete;
  GtkStandInView& operator=(const GtkStandInView&) = delete;
  ~GtkStandInView();

  // Builds the view the first time.
  GtkWidget* widget();
  void windowMapped();

 private:
  static void releaseWidget(GtkWidget* widget);
  static int onRefreshTime(void* self);
  static void onClosePressed(GtkWidget* button, void* self);
  static void onRealized(GtkWidget* root, void* self);
  static void onFrameStarted(void* clock, void* self);
  static void onFrameDone(void* clock, void* self);

  void build();
  GtkWidget* header();
  GtkWidget* body();
  GtkWidget* callList();
  void logChanged();
  bool onScreen() const;
  void refresh();
  void showNewCalls();
  void showAnswers();
  void insertRow(int position, const CallSummary& call);
  void writeRow(GtkTreeIter& row, const CallSummary& call);
  void dropRowsFrom(int position);

  StandInContent content_;
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
  // What the last refresh shown took with its frame; what the last refresh
  // took, and whether its frame is still to come.
  std::chrono::microseconds lastCost_{0};
  std::chrono::microseconds refreshCost_{0};
  bool refreshToDraw_ = false;
  void* frameClock_ = nullptr;
  std::int64_t frameStarted_ = 0;  // GLib's monotonic time, microseconds
};

}  // namespace quillon
