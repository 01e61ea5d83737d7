#include "platform/linux/system/glib_main_queue.h"

#include <glib.h>

#include <limits>

namespace quillon {

namespace {

gboolean runOnce(gpointer data) {
  std::move(*static_cast<MainQueue::Job*>(data))();
  return G_SOURCE_REMOVE;
}

void deleteJob(gpointer data) { delete static_cast<MainQueue::Job*>(data); }

}  // namespace

void GlibMainQueue::post(Job job) {
  g_idle_add_full(G_PRIORITY_DEFAULT, runOnce, new Job(std::move(job)), deleteJob);
}

void GlibMainQueue::postAfter(std::chrono::seconds delay, Job job) {
  constexpr auto kLongest = std::chrono::milliseconds(std::numeric_limits<guint>::max());
  if (delay.count() < 0 || delay > std::chrono::duration_cast<std::chrono::seconds>(kLongest)) return;
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(delay);
  g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(milliseconds.count()), runOnce, new Job(std::move(job)),
                     deleteJob);
}

}  // namespace quillon
