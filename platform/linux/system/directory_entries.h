// Reading a directory's entries, for the scans of /proc.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillon {

// The names in `directory` without "." and "..", in readdir's order; nothing
// when the directory cannot be opened or a read fails partway, since a scan
// that missed entries must not pass for a whole one. Never throws.
std::optional<std::vector<std::string>> directoryEntries(const std::string& directory);

}  // namespace quillon
