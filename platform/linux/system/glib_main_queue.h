// The main queue on the GLib default main context: an idle source for a job on a
// later turn, a timeout source for a job after a delay.
#pragma once

#include "platform/main_queue.h"

namespace quillon {

class GlibMainQueue final : public MainQueue {
 public:
  void post(Job job) override;
  // A delay beyond what a GLib timeout can hold (about 49 days) is never reached:
  // the job is dropped rather than run early.
  void postAfter(std::chrono::seconds delay, Job job) override;
};

}  // namespace quillon
