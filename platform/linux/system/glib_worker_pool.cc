#include "platform/linux/system/glib_worker_pool.h"

#include <cstdio>
#include <memory>
#include <utility>

namespace quillon {

namespace {

// A source that dispatches when a worker sets its ready time.
gboolean dispatchWhenWoken(GSource* source, GSourceFunc callback, gpointer data) {
  g_source_set_ready_time(source, -1);
  return callback(data);
}

GSourceFuncs kWokenSource = {nullptr, nullptr, dispatchWhenWoken, nullptr, nullptr, nullptr};

}  // namespace

GlibWorkerPool::GlibWorkerPool(unsigned threads) {
  repliesDue_ = g_source_new(&kWokenSource, sizeof(GSource));
  g_source_set_callback(repliesDue_, runRepliesDue, this, nullptr);
  g_source_attach(repliesDue_, nullptr);
  g_autoptr(GError) error = nullptr;
  threads_ = g_thread_pool_new(runOnWorker, this, static_cast<gint>(threads), TRUE, &error);
  if (threads_ == nullptr) {
    std::fprintf(stderr, "quillon-host: no worker threads (%s); tools run on the main thread\n",
                 error != nullptr ? error->message : "unknown reason");
  }
}

GlibWorkerPool::~GlibWorkerPool() { finish(); }

void GlibWorkerPool::post(Work work, Reply reply) {
  if (threads_ == nullptr) {
    std::move(work)();
    std::move(reply)();
    return;
  }
  // An exclusive pool's threads are all running: pushing queues, it cannot fail.
  g_thread_pool_push(threads_, new Job{std::move(work), std::move(reply)}, nullptr);
}

void GlibWorkerPool::finish() {
  if (threads_ != nullptr) {
    // Runs what is queued, then joins every thread. Replies run meanwhile would
    // find no pool: from here on work runs at once.
    g_thread_pool_free(std::exchange(threads_, nullptr), FALSE, TRUE);
  }
  while (runReplies()) {
  }
  if (repliesDue_ != nullptr) {
    g_source_destroy(repliesDue_);
    g_source_unref(std::exchange(repliesDue_, nullptr));
  }
}

void GlibWorkerPool::runOnWorker(gpointer job, gpointer self) {
  auto* pool = static_cast<GlibWorkerPool*>(self);
  const std::unique_ptr<Job> owned(static_cast<Job*>(job));
  std::move(owned->work)();
  {
    const std::lock_guard lock(pool->mutex_);
    pool->due_.push_back(std::move(owned->reply));
  }
  g_source_set_ready_time(pool->repliesDue_, 0);
}

gboolean GlibWorkerPool::runRepliesDue(gpointer self) {
  static_cast<GlibWorkerPool*>(self)->runReplies();
  return G_SOURCE_CONTINUE;
}

bool GlibWorkerPool::runReplies() {
  std::vector<Reply> now;
  {
    const std::lock_guard lock(mutex_);
    now.swap(due_);
  }
  for (Reply& reply : now) std::move(reply)();
  return !now.empty();
}

}  // namespace quillon
