// The rate limit of printed lines, on a clock the test moves.
#include "base/line_limiter.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace quillon {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

class LineLimiterTest : public ::testing::Test {
 protected:
  // Prints `count` lines "SOURCE N" at the test's current time.
  void print(const std::string& source, int count) {
    for (int index = 0; index < count; ++index) limiter_.print(source, source + " " + std::to_string(index));
  }

  Lines take() { return std::exchange(written_, {}); }

  LineLimiter::Clock::time_point now_{};
  Lines written_;
  LineLimiter limiter_{[this](std::string_view line) { written_.emplace_back(line); }, [this] { return now_; }};
};

TEST_F(LineLimiterTest, ASourcePrintsItsBurstPerIntervalAndCountsTheRest) {
  struct Step {
    LineLimiter::Clock::duration at;  // Since the first line.
    int lines;
    Lines written;
  };
  const std::vector<Step> steps = {
      {0ms, 9, {"a 0", "a 1", "a 2", "a 3", "a 4", "a 5", "a 6", "a 7", "a 8"}},
      {999ms, 3, {"a 0"}},
      // The interval is over: the count, then a new burst.
      {1000ms, 1, {"quillon-host: suppressed 2 more lines about a", "a 0"}},
      {1500ms, 9, {"a 0", "a 1", "a 2", "a 3", "a 4", "a 5", "a 6", "a 7", "a 8"}},
      {1999ms, 5, {}},
      // An interval begins with the first line after the last: nothing was suppressed in between.
      {9000ms, 1, {"quillon-host: suppressed 5 more lines about a", "a 0"}},
      {9500ms, 1, {"a 0"}},
  };
  for (const Step& step : steps) {
    now_ = LineLimiter::Clock::time_point{} + step.at;
    print("a", step.lines);
    EXPECT_EQ(take(), step.written) << "at " << std::chrono::duration_cast<std::chrono::milliseconds>(step.at).count() << " ms";
  }
}

TEST_F(LineLimiterTest, EachSourceHasABudgetOfItsOwnAndFlushReportsWhatIsPending) {
  print("a", 12);
  take();
  print("b", 1);
  EXPECT_EQ(take(), (Lines{"b 0"}));
  limiter_.flush();
  EXPECT_EQ(take(), (Lines{"quillon-host: suppressed 2 more lines about a"}));
  limiter_.flush();
  EXPECT_EQ(take(), Lines{});
}

TEST_F(LineLimiterTest, LinesFromManyThreadsAreEachWrittenOrCounted) {
  constexpr int kThreads = 8;
  constexpr int kLinesEach = 1000;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) threads.emplace_back([this] { print("a", kLinesEach); });
  for (auto& thread : threads) thread.join();
  limiter_.flush();
  Lines expected(LineLimiter::kBurst, "");
  expected.push_back("quillon-host: suppressed " + std::to_string(kThreads * kLinesEach - LineLimiter::kBurst) +
                     " more lines about a");
  Lines written = take();
  for (std::size_t index = 0; index < LineLimiter::kBurst; ++index) {
    EXPECT_TRUE(written[index].starts_with("a ")) << written[index];
    written[index] = "";
  }
  EXPECT_EQ(written, expected);
}

}  // namespace
}  // namespace quillon
