#include "platform/linux/system/glib_worker_pool.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "tests/support/child_process.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

// Turns the default main context until `condition` holds (at most 10 s).
template <typename Condition>
bool pumpUntil(Condition condition) {
  return testing::waitUntil(
      [&] {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        return condition();
      },
      10s);
}

TEST(GlibWorkerPoolTest, WorkRunsOnAWorkerAndItsReplyOnTheMainLoopLater) {
  GlibWorkerPool pool(2);
  const auto mainThread = std::this_thread::get_id();
  std::thread::id workedOn;
  std::optional<int> result;
  pool.postWithResult<int>(
      [&] {
        workedOn = std::this_thread::get_id();
        return 42;
      },
      [&](int value) {
        EXPECT_EQ(std::this_thread::get_id(), mainThread);
        result = value;
      });
  EXPECT_FALSE(result);
  ASSERT_TRUE(pumpUntil([&] { return result.has_value(); }));
  EXPECT_EQ(*result, 42);
  EXPECT_NE(workedOn, mainThread);
}

// Each work waits until all of them have started: only threads side by side finish.
TEST(GlibWorkerPoolTest, AsManyWorksRunAtOnceAsThePoolHasThreads) {
  constexpr int kThreads = 4;
  GlibWorkerPool pool(kThreads);
  std::mutex mutex;
  std::condition_variable allStarted;
  int started = 0;
  int replied = 0;
  for (int i = 0; i < kThreads; ++i) {
    pool.post(
        [&] {
          std::unique_lock lock(mutex);
          ++started;
          allStarted.notify_all();
          EXPECT_TRUE(allStarted.wait_for(lock, 10s, [&] { return started == kThreads; }));
        },
        [&] { ++replied; });
  }
  EXPECT_TRUE(pumpUntil([&] { return replied == kThreads; }));
}

// The end: what was posted runs and is replied to within finish(); from then
// on work and reply run at once.
TEST(GlibWorkerPoolTest, FinishingRunsWhatWasPostedAndLaterWorkAtOnce) {
  GlibWorkerPool pool(1);
  std::vector<int> replies;
  for (int i = 0; i < 3; ++i) {
    pool.post([] { std::this_thread::sleep_for(20ms); }, [&replies, i] { replies.push_back(i); });
  }
  pool.finish();
  EXPECT_EQ(replies, (std::vector{0, 1, 2}));
  bool worked = false;
  pool.post([&] { worked = true; }, [&] { replies.push_back(worked ? 3 : -1); });
  EXPECT_EQ(replies, (std::vector{0, 1, 2, 3}));
}

}  // namespace
}  // namespace quillon
