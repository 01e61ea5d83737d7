#include "platform/linux/process/pidfd_process_ends.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "base/unique_fd.h"

namespace quillon {

void PidfdProcessEnds::waitForEnd(std::int64_t processId, std::chrono::milliseconds limit) {
  if (processId <= 0 || processId > INT_MAX) return;
  const UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(processId), 0)));
  if (!process.valid()) return;
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    const auto wait = std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, INT_MAX);
    pollfd ended{process.get(), POLLIN, 0};
    const int ready = ::poll(&ended, 1, static_cast<int>(wait));
    if (ready >= 0 || errno != EINTR) return;
  }
}

}  // namespace quillon
