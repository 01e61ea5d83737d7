#include "platform/linux/small_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "embedding/unique_fd.h"

namespace quillon {

// Plain reads: a file of /proc or /sys may fail partway (its process ended,
// its device went), and a stream would throw there.
std::optional<std::string> readSmallFile(const std::string& path) {
  UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.valid()) return std::nullopt;
  std::string bytes;
  std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
    if (count > 0) {
      bytes.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0) {
      return bytes;
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
}

std::string withoutFinalLineFeed(std::string text) {
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace quillon
