#include "platform/linux/small_file.h"

#include <fstream>
#include <iterator>

namespace quillon {

std::optional<std::string> readSmallFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (file.bad()) return std::nullopt;
  return bytes;
}

std::string withoutFinalLineFeed(std::string text) {
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace quillon
