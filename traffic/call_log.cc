#include "traffic/call_log.h"

#include <algorithm>
#include <array>
#include <utility>

#include "traffic/one_line_text.h"

namespace quillon {

struct CallLog::State {
  State(CallSummariser summary, Clocks times) : summariser(std::move(summary)), clocks(std::move(times)) {}

  CallSummary* slotOf(std::uint64_t sequence) {
    CallSummary& slot = ring[sequence % kCapacity];
    return slot.sequence == sequence && sequence != 0 ? &slot : nullptr;
  }

  void noteChange() {
    if (std::exchange(changed, true) || !listener) return;
    listener();
  }

  CallSummariser summariser;
  Clocks clocks;
  std::array<CallSummary, kCapacity> ring;  // a call's slot: its sequence modulo the capacity
  std::uint64_t last = 0;                   // the newest call's sequence; 0 before the first
  std::size_t connections = 0;
  bool changed = false;
  std::function<void()> listener;
};

CallLog::Clocks CallLog::systemClocks() {
  return Clocks{[] { return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now()); },
                [] { return std::chrono::steady_clock::now(); }};
}

CallLog::CallLog(CallSummariser summariser, Clocks clocks)
    : state_(std::make_shared<State>(std::move(summariser), std::move(clocks))) {}

CallLog::~CallLog() = default;

LinkObserver::AnswerNote CallLog::callReceived(std::string_view channel, const MethodCall& call) {
  State& state = *state_;
  const std::uint64_t sequence = ++state.last;
  CallSummary& slot = state.ring[sequence % kCapacity];
  // Assigned in place: the slot's strings keep their room, so a busy link
  // allocates little.
  slot.sequence = sequence;
  slot.received = state.clocks.wall();
  slot.channel = oneLine(channel, kNameWidth);
  slot.method = oneLine(call.method, kNameWidth);
  slot.arguments = state.summariser.arguments(channel, call);
  slot.answer.clear();
  slot.took.reset();
  state.noteChange();
  slot.started = state.clocks.monotonic();
  return [weak = std::weak_ptr<State>(state_), sequence](const ChannelReply& answer) {
    const auto held = weak.lock();
    if (!held) return;
    CallSummary* summary = held->slotOf(sequence);
    if (summary == nullptr) return;
    summary->took = std::chrono::duration_cast<std::chrono::microseconds>(held->clocks.monotonic() - summary->started);
    summary->answer = answerKind(answer);
    held->noteChange();
  };
}

void CallLog::connectionsChanged(std::size_t count) {
  state_->connections = count;
  state_->noteChange();
}

void CallLog::setChangeListener(std::function<void()> listener) { state_->listener = std::move(listener); }

bool CallLog::changed() const { return state_->changed; }

void CallLog::markSeen() { state_->changed = false; }

std::size_t CallLog::connections() const { return state_->connections; }

std::vector<const CallSummary*> CallLog::newestFirst() const {
  std::vector<const CallSummary*> calls;
  const std::uint64_t last = state_->last;
  const std::uint64_t kept = std::min<std::uint64_t>(last, kCapacity);
  calls.reserve(static_cast<std::size_t>(kept));
  for (std::uint64_t sequence = last; sequence > last - kept; --sequence) calls.push_back(&state_->ring[sequence % kCapacity]);
  return calls;
}

const CallSummary* CallLog::find(std::uint64_t sequence) const { return state_->slotOf(sequence); }

}  // namespace quillon
