#include "commands/blocking_work.h"

#include <algorithm>
#include <utility>

#include "base/check.h"
#include "base/main_thread.h"

namespace quillon {

namespace {

constexpr const char* kUnavailable = "UNAVAILABLE";

}  // namespace

BlockingWork::BlockingWork(BackgroundWork& workers, std::size_t mostAtOnce)
    : workers_(workers), mostAtOnce_(std::max<std::size_t>(mostAtOnce, 1)) {}

void BlockingWork::run(ReplyCallback reply, Job job) {
  CHECK(onMainThread());
  if (ended_) return std::move(reply).error(kUnavailable, "The host is ending");
  const CallerKey key = reply.caller();
  Caller& caller = callers_[key];
  if (caller.waiting.size() >= kMostWaiting) {
    return std::move(reply).error(kUnavailable, "Too many calls of this caller are waiting");
  }
  if (!caller.running && caller.waiting.empty()) turns_.push_back(key);
  caller.waiting.push_back(Call{std::move(reply), std::move(job)});
  startWhatCan();
}

void BlockingWork::end() {
  if (ended_) return;
  ended_ = true;
  turns_.clear();
  std::deque<Call> unstarted;
  for (auto caller = callers_.begin(); caller != callers_.end();) {
    std::move(caller->second.waiting.begin(), caller->second.waiting.end(), std::back_inserter(unstarted));
    caller->second.waiting.clear();
    caller = caller->second.running ? std::next(caller) : callers_.erase(caller);
  }
  for (Call& call : unstarted) std::move(call.reply).error(kUnavailable, "The host is ending");
}

void BlockingWork::startWhatCan() {
  // A job finished within post() (inline workers) comes back here: the loop
  // below goes on with it.
  if (starting_) return;
  starting_ = true;
  while (!ended_ && running_ < mostAtOnce_ && !turns_.empty()) {
    const auto caller = callers_.find(turns_.front());
    turns_.pop_front();
    start(caller);
  }
  starting_ = false;
}

void BlockingWork::start(Callers::iterator caller) {
  if (caller->first.gone()) {
    // Nobody to answer: its jobs are passed over, their answers dropped on the way.
    std::deque<Call> passedOver = std::move(caller->second.waiting);
    callers_.erase(caller);
    for (Call& call : passedOver) std::move(call.reply).error(kUnavailable, "The caller has left");
    return;
  }
  Call call = std::move(caller->second.waiting.front());
  caller->second.waiting.pop_front();
  caller->second.running = true;
  ++running_;
  workers_.postWithResult<ChannelReply>(
      std::move(call.job), [this, key = caller->first, reply = std::move(call.reply)](ChannelReply answer) mutable {
        finished(key, std::move(reply), std::move(answer));
      });
}

void BlockingWork::finished(const CallerKey& key, ReplyCallback reply, ChannelReply answer) {
  // The workers hand each result back to the main loop; answering here from
  // a worker would race every other caller's state.
  CHECK(onMainThread());
  --running_;
  const auto caller = callers_.find(key);
  caller->second.running = false;
  if (caller->second.waiting.empty()) {
    callers_.erase(caller);
  } else {
    // Behind every caller already waiting: its turn is over.
    turns_.push_back(key);
  }
  std::move(reply)(std::move(answer));
  startWhatCan();
}

}  // namespace quillon
