#include "platform/linux/system/directory_entries.h"

#include <dirent.h>

#include <cerrno>
#include <string_view>

#include "base/c_owner.h"

namespace quillon {

std::optional<std::vector<std::string>> directoryEntries(const std::string& directory) {
  const COwner<DIR, closedir> stream(opendir(directory.c_str()));
  if (!stream) return std::nullopt;
  std::vector<std::string> names;
  for (;;) {
    // readdir tells the end from a failure only through errno.
    errno = 0;
    const dirent* entry = readdir(stream.get());
    if (entry == nullptr) {
      if (errno != 0) return std::nullopt;
      return names;
    }
    const std::string_view name(entry->d_name);
    if (name != "." && name != "..") names.emplace_back(name);
  }
}

}  // namespace quillon
