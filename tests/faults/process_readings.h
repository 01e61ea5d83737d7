// What /proc tells about another process: processor time, resident memory and
// descriptors, and its descriptor limit, read and changed from outside.
#pragma once

#include <sys/resource.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace quillon::testing {

// Processor time (user and system) in clock ticks.
inline long processorTicks(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  // The command name may hold blanks; the fields are counted from after it.
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string field;
  long user = 0;
  long system = 0;
  for (int index = 3; index <= 15 && fields >> field; ++index) {
    if (index == 14) user = std::stol(field);
    if (index == 15) system = std::stol(field);
  }
  return user + system;
}

inline long ticksPerSecond() { return ::sysconf(_SC_CLK_TCK); }

inline std::size_t residentBytes(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("VmRSS:", 0) == 0) return std::stoul(line.substr(6)) * 1024;
  }
  return 0;
}

inline std::set<int> openDescriptors(pid_t pid) {
  std::set<int> numbers;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd")) {
    numbers.insert(std::stoi(entry.path().filename().string()));
  }
  return numbers;
}

// The number the process's next new descriptor gets.
inline int lowestFreeDescriptor(pid_t pid) {
  const auto taken = openDescriptors(pid);
  int number = 0;
  while (taken.contains(number)) ++number;
  return number;
}

inline rlimit descriptorLimit(pid_t pid) {
  rlimit limit{};
  ::prlimit(pid, RLIMIT_NOFILE, nullptr, &limit);
  return limit;
}

inline bool setDescriptorLimit(pid_t pid, rlimit limit) { return ::prlimit(pid, RLIMIT_NOFILE, &limit, nullptr) == 0; }

inline bool setSoftDescriptorLimit(pid_t pid, rlim_t soft) {
  rlimit limit = descriptorLimit(pid);
  limit.rlim_cur = soft;
  return setDescriptorLimit(pid, limit);
}

inline std::size_t countOccurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

}  // namespace quillon::testing
