// Whole reads of the small text files of /sys and /etc.
#pragma once

#include <optional>
#include <string>

namespace quillon {

// The file's bytes; nothing when it cannot be opened or read.
std::optional<std::string> readSmallFile(const std::string& path);

// `text` without one line feed at its end.
std::string withoutFinalLineFeed(std::string text);

}  // namespace quillon
