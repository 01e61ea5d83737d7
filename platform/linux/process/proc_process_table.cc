#include "platform/linux/process/proc_process_table.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <sstream>
#include <string_view>

#include "platform/linux/system/directory_entries.h"
#include "platform/linux/system/small_file.h"

namespace quillon {
namespace {

// The kernel keeps command names in 16 bytes, the terminating zero included.
constexpr std::size_t kCommandNameLimit = 15;
// PF_KTHREAD in the flags field of /proc/PID/stat.
constexpr unsigned long kKernelThreadFlag = 0x00200000;

std::string procPath(pid_t id, std::string_view entry) {
  return "/proc/" + std::to_string(id) + "/" + std::string(entry);
}

std::optional<pid_t> parseId(std::string_view text) {
  pid_t id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (error != std::errc{} || end != text.data() + text.size() || id <= 0) return std::nullopt;
  return id;
}

// The flags field of /proc/PID/stat: the seventh field after the command
// name, which is parenthesised and may itself hold blanks and parentheses.
std::optional<unsigned long> processFlags(pid_t id) {
  const auto stat = readSmallFile(procPath(id, "stat"));
  if (!stat) return std::nullopt;
  const std::size_t nameEnd = stat->rfind(')');
  if (nameEnd == std::string::npos) return std::nullopt;
  std::istringstream fields(stat->substr(nameEnd + 1));
  std::string skipped;
  for (int field = 0; field < 6; ++field) fields >> skipped;
  unsigned long flags = 0;
  if (!(fields >> flags)) return std::nullopt;
  return flags;
}

std::optional<pid_t> threadGroupId(pid_t id) {
  const auto text = readSmallFile(procPath(id, "status"));
  if (!text) return std::nullopt;
  std::istringstream status(*text);
  for (std::string line; std::getline(status, line);) {
    constexpr std::string_view kTgid = "Tgid:";
    if (line.starts_with(kTgid)) {
      const std::string_view value = std::string_view(line).substr(kTgid.size());
      return parseId(value.substr(std::min(value.find_first_not_of(" \t"), value.size())));
    }
  }
  return std::nullopt;
}

std::string baseName(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

// Longer names that the truncated command name may have been cut from.
std::vector<std::string> fullNameCandidates(pid_t id) {
  std::vector<std::string> candidates;
  std::error_code error;
  const auto executable = std::filesystem::read_symlink(procPath(id, "exe"), error);
  if (!error) candidates.push_back(baseName(executable.native()));
  if (const auto commandLine = readSmallFile(procPath(id, "cmdline"))) {
    candidates.push_back(baseName(std::string_view(commandLine->c_str())));
  }
  return candidates;
}

}  // namespace

std::optional<std::vector<pid_t>> userSpaceProcessIds() {
  const auto names = directoryEntries("/proc");
  if (!names) return std::nullopt;
  std::vector<pid_t> ids;
  for (const std::string& name : *names) {
    const auto id = parseId(name);
    if (id && isUserSpaceProcess(*id)) ids.push_back(*id);
  }
  std::sort(ids.begin(), ids.end());
  return ids;
}

bool isUserSpaceProcess(pid_t id) {
  if (id <= 0) return false;
  const auto flags = processFlags(id);
  return flags && (*flags & kKernelThreadFlag) == 0 && threadGroupId(id) == id;
}

std::optional<std::string> applicationName(pid_t id) {
  auto name = readSmallFile(procPath(id, "comm"));
  if (!name) return std::nullopt;
  if (!name->empty() && name->back() == '\n') name->pop_back();
  if (name->size() < kCommandNameLimit) return name;
  for (const std::string& candidate : fullNameCandidates(id)) {
    if (candidate.size() > name->size() && candidate.starts_with(*name)) return candidate;
  }
  return name;
}

}  // namespace quillon
