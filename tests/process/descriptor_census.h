// Counts what a process holds that a call could leak: open descriptors and
// children that have ended but not been reaped.
#pragma once

#include <sys/wait.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>

namespace quillon::testing {

inline std::size_t openDescriptorCount() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

// True when this process has no child at all, ended or running.
inline bool hasNoChildren() {
  siginfo_t info{};
  return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD;
}

}  // namespace quillon::testing
