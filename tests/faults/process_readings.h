// What /proc tells about another process: processor time, resident memory and
// descriptors; and what its standard error said.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <string>

#include "tests/support/child_process.h"

namespace quillon::testing {

// Processor time (user and system) as a share of one core, over `seconds`.
inline double coreShare(pid_t pid, int seconds) {
  const auto ticks = [pid] {
    // The command name may hold blanks: the fields are read from after it.
    const std::string stat = readFile("/proc/" + std::to_string(pid) + "/stat");
    unsigned long user = 0, system = 0;
    std::sscanf(stat.c_str() + stat.rfind(')') + 2, "%*c %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %lu %lu", &user, &system);
    return static_cast<double>(user + system);
  };
  const double before = ticks();
  ::sleep(static_cast<unsigned>(seconds));
  return (ticks() - before) / static_cast<double>(seconds * ::sysconf(_SC_CLK_TCK));
}

inline std::size_t residentBytes(pid_t pid) {
  std::size_t pages = 0;
  std::sscanf(readFile("/proc/" + std::to_string(pid) + "/statm").c_str(), "%*s %zu", &pages);
  return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

inline std::set<int> openDescriptors(pid_t pid) {
  std::set<int> numbers;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd")) {
    numbers.insert(std::stoi(entry.path().filename().string()));
  }
  return numbers;
}

inline std::size_t countOccurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

}  // namespace quillon::testing
