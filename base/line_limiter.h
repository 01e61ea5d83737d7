// LineLimiter: the rate limit of the host's printed lines, as journald's. Lines
// that somebody outside can make the host print again and again (a dropped
// connection, a refused frame, a failed tool) must not fill a disk.
//
// Contract: each line comes with its source, a short plural name for one kind
// of line ("dropped interface connections"); the host has a handful of them.
// A source prints at most kBurst lines in an interval of kInterval, which
// begins with its first line after the previous interval; beyond that its
// lines are counted, not written. Its first line after the interval is
// preceded by one line "quillon-host: suppressed N more lines about SOURCE";
// flush() writes the counts still pending (the host does it as it ends).
// Every source has a budget of its own, so a flood of one kind never hides a
// line of another. Thread-safe: any thread may print; each line goes to the
// writer whole, one call at a time, in the order the calls took the lock.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace quillon {

class LineLimiter {
 public:
  using Clock = std::chrono::steady_clock;
  // Writes one line, given without its line end.
  using Writer = std::function<void(std::string_view line)>;
  using Now = std::function<Clock::time_point()>;

  // Enough for a short burst of distinct events (the broken frames of a test,
  // a few clients leaving together), a few lines a second at length.
  static constexpr std::size_t kBurst = 10;
  static constexpr Clock::duration kInterval = std::chrono::seconds(1);

  explicit LineLimiter(Writer writer, Now now = &Clock::now) : writer_(std::move(writer)), now_(std::move(now)) {}
  LineLimiter(const LineLimiter&) = delete;
  LineLimiter& operator=(const LineLimiter&) = delete;

  void print(std::string_view source, std::string_view line) {
    const std::lock_guard lock(mutex_);
    const Clock::time_point now = now_();
    auto found = sources_.find(source);
    if (found == sources_.end()) found = sources_.emplace(std::string(source), Interval{now}).first;
    auto& [name, interval] = *found;
    if (now - interval.start >= kInterval) {
      reportSuppressed(name, interval);
      interval = Interval{now};
    }
    if (interval.printed == kBurst) {
      ++interval.suppressed;
      return;
    }
    ++interval.printed;
    writer_(line);
  }

  void flush() {
    const std::lock_guard lock(mutex_);
    for (auto& [name, interval] : sources_) reportSuppressed(name, interval);
  }

 private:
  struct Interval {
    Clock::time_point start;
    std::size_t printed = 0;
    std::size_t suppressed = 0;
  };

  void reportSuppressed(const std::string& name, Interval& interval) {
    if (interval.suppressed == 0) return;
    writer_("quillon-host: suppressed " + std::to_string(std::exchange(interval.suppressed, 0)) +
            " more lines about " + name);
  }

  const Writer writer_;
  const Now now_;
  std::mutex mutex_;
  std::map<std::string, Interval, std::less<>> sources_;
};

}  // namespace quillon
