// GlibWorkerPool: BackgroundWork on threads of its own, a fixed number started
// at once (an exclusive GThreadPool), with the replies run on the GLib default
// main context.
//
// Work waits in the pool's queue, first in first out, while every thread is
// busy. A finished work hands its reply to the main context through one
// source of the pool's, which the worker wakes; each turn of the main loop
// runs the replies due at that moment, in the order their work finished.
// Without threads (the system would not start them) work runs on the main
// thread as it comes, and one line on standard error says so.
//
// Contract: made, used and destroyed on the main thread, the one that turns
// the default main context. Destruction finishes the pool (finish()).
#pragma once

#include <glib.h>

#include <mutex>
#include <vector>

#include "platform/background_work.h"

namespace quillon {

class GlibWorkerPool final : public BackgroundWork {
 public:
  explicit GlibWorkerPool(unsigned threads);
  GlibWorkerPool(const GlibWorkerPool&) = delete;
  GlibWorkerPool& operator=(const GlibWorkerPool&) = delete;
  ~GlibWorkerPool() override;

  void post(Work work, Reply reply) override;
  void finish() override;

 private:
  struct Job {
    Work work;
    Reply reply;
  };

  static void runOnWorker(gpointer job, gpointer self);
  static gboolean runRepliesDue(gpointer self);
  // Runs the replies due now; false when there were none.
  bool runReplies();

  GThreadPool* threads_ = nullptr;
  GSource* repliesDue_ = nullptr;
  std::mutex mutex_;
  std::vector<Reply> due_;  // guarded by mutex_
};

}  // namespace quillon
