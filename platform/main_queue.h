// MainQueue: deferred jobs on the application's main thread.
#pragma once

#include <chrono>

#include "base/once_callback.h"

namespace quillon {

class MainQueue {
 public:
  using Job = OnceCallback<void()>;

  virtual ~MainQueue() = default;
  // Runs `job` on a later turn of the main loop.
  virtual void post(Job job) = 0;
  // Runs `job` on the main loop once `delay` has passed on the monotonic clock.
  virtual void postAfter(std::chrono::seconds delay, Job job) = 0;
};

}  // namespace quillon
