// CallLog: the latest calls the host received on every channel, with the
// kind of their answers and the time each took, and how many interfaces are
// connected: what the main window's stand-in view lists. It is the link's
// observer (see LinkObserver).
//
// It keeps summaries alone (CallSummary), at most kCapacity of them, in a
// ring: a new call takes the place of the oldest, and nothing of a call stays
// once it has left. An answer given after its call has left, or after the log
// is gone, changes nothing.
//
// Whoever shows the log is told once that it changed (the change listener),
// then not again until it has seen the log (markSeen()): it decides when to
// look, however many calls come meanwhile.
//
// Contract: main thread only. Recording a call costs a summary of bounded
// length and no more: the listener must not do more than note the change.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "embedding/link_observer.h"
#include "traffic/call_summariser.h"
#include "traffic/call_summary.h"

namespace quillon {

class CallLog final : public LinkObserver {
 public:
  // A few hundred: more than a screen of the list, little memory.
  static constexpr std::size_t kCapacity = 300;

  struct Clocks {
    std::function<Instant()> wall;
    std::function<std::chrono::steady_clock::time_point()> monotonic;
  };
  // The system's clocks.
  static Clocks systemClocks();

  explicit CallLog(CallSummariser summariser, Clocks clocks = systemClocks());
  CallLog(const CallLog&) = delete;
  CallLog& operator=(const CallLog&) = delete;
  ~CallLog() override;

  AnswerNote callReceived(std::string_view channel, const MethodCall& call) override;
  void connectionsChanged(std::size_t count) override;

  // Replaces the listener; an empty one removes it.
  void setChangeListener(std::function<void()> listener);
  // Whether anything changed since markSeen().
  bool changed() const;
  void markSeen();

  std::size_t connections() const;
  // The calls in the log, newest first.
  std::vector<const CallSummary*> newestFirst() const;
  // The call with that sequence number while it is in the log, or nullptr.
  const CallSummary* find(std::uint64_t sequence) const;

 private:
  struct State;
  std::shared_ptr<State> state_;  // answer notes hold it weakly
};

}  // namespace quillon
