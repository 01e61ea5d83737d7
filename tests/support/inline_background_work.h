// BackgroundWork for exact cases: work and reply run at once, inside post(),
// so that a command whose operation runs as a job still answers before its
// handler returns; and the BlockingWork of a catalogue under test, over it.
#pragma once

#include "commands/blocking_work.h"
#include "platform/background_work.h"

namespace quillon::testing {

class InlineBackgroundWork final : public BackgroundWork {
 public:
  void post(Work work, Reply reply) override {
    std::move(work)();
    std::move(reply)();
  }
  void finish() override {}
};

struct InlineBlockingWork {
  InlineBackgroundWork workers;
  BlockingWork blocking{workers, 1};
};

}  // namespace quillon::testing
