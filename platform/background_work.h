// BackgroundWork: work that must not hold the main loop (a tool run, a scan of
// the machine) runs on a worker thread, and its reply then on the main loop,
// in the shape of Chromium's PostTaskAndReply.
//
// Contract: post() and finish() are called on the main thread. `work` runs once
// on a worker and must touch nothing that belongs to the main thread; `reply`
// runs once after it, on the main thread, and is where the result is used. An
// implementation may run both before post() returns (the tests' inline one)
// or on later turns of the main loop (the host's). finish() is for the end:
// it waits for the work posted so far, runs the replies that are due, and
// from then on post() runs work and reply at once, on the calling thread.
#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "base/once_callback.h"

namespace quillon {

class BackgroundWork {
 public:
  using Work = OnceCallback<void()>;
  using Reply = OnceCallback<void()>;

  virtual ~BackgroundWork() = default;

  virtual void post(Work work, Reply reply) = 0;
  virtual void finish() = 0;

  // `work`'s result is handed to `reply` (PostTaskAndReplyWithResult).
  template <typename Result>
  void postWithResult(OnceCallback<Result()> work, OnceCallback<void(Result)> reply) {
    // Written on the worker, read on the main thread after it: post() orders the two.
    auto result = std::make_shared<std::optional<Result>>();
    post([work = std::move(work), result]() mutable { result->emplace(std::move(work)()); },
         [reply = std::move(reply), result]() mutable { std::move(reply)(std::move(**result)); });
  }
};

}  // namespace quillon
