#include "platform/linux/identity/linux_temporary_directory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace quillon {

namespace {

Failure failure(const std::string& filePath, int error) {
  return Failure{"Could not write \"" + filePath + "\": " + std::strerror(error)};
}

}  // namespace

std::string LinuxTemporaryDirectory::path() const {
  const char* fromEnvironment = std::getenv("TMPDIR");
  std::string directory = (fromEnvironment && *fromEnvironment) ? fromEnvironment : "/tmp";
  while (directory.size() > 1 && directory.back() == '/') directory.pop_back();
  return directory;
}

Expected<void> LinuxTemporaryDirectory::writeFile(const std::string& filePath, const std::vector<std::uint8_t>& bytes) {
  const int descriptor = ::open(filePath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (descriptor < 0) return failure(filePath, errno);
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = ::write(descriptor, bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      const int error = errno;
      ::close(descriptor);
      return failure(filePath, error);
    }
    written += static_cast<std::size_t>(count);
  }
  // close() reports late write errors (a full disk on some file systems); it is
  // not retried on EINTR, since the descriptor is gone either way on Linux.
  if (::close(descriptor) != 0) return failure(filePath, errno);
  return {};
}

}  // namespace quillon
