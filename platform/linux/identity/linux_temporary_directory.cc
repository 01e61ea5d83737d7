#include "platform/linux/identity/linux_temporary_directory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace quillon {

namespace {

Failure failure(const char* what, const std::string& filePath, int error) {
  return Failure{std::string(what) + " \"" + filePath + "\": " + std::strerror(error)};
}

// Zero, or the errno of the write or the close that failed; the descriptor is
// closed either way.
int writeAllAndClose(int descriptor, const std::vector<std::uint8_t>& bytes) {
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = ::write(descriptor, bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      const int error = errno;
      ::close(descriptor);
      return error;
    }
    written += static_cast<std::size_t>(count);
  }
  // close() reports late write errors (a full disk on some file systems); it is
  // not retried on EINTR, since the descriptor is gone either way on Linux.
  return ::close(descriptor) == 0 ? 0 : errno;
}

}  // namespace

std::string LinuxTemporaryDirectory::path() const {
  const char* fromEnvironment = std::getenv("TMPDIR");
  std::string directory = (fromEnvironment && *fromEnvironment) ? fromEnvironment : "/tmp";
  while (directory.size() > 1 && directory.back() == '/') directory.pop_back();
  return directory;
}

Expected<void> LinuxTemporaryDirectory::writeNewFile(const std::string& filePath,
                                                     const std::vector<std::uint8_t>& bytes) {
  // In a directory that others write to (/tmp), a file or link planted at the
  // name fails the call rather than being written through; the mode keeps the
  // bytes from other users, whatever the umask.
  const int descriptor = ::open(filePath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (descriptor < 0) return failure("Could not write", filePath, errno);
  if (const int error = writeAllAndClose(descriptor, bytes); error != 0) {
    ::unlink(filePath.c_str());
    return failure("Could not write", filePath, error);
  }
  return {};
}

Expected<void> LinuxTemporaryDirectory::removeFile(const std::string& filePath) {
  if (::unlink(filePath.c_str()) == 0 || errno == ENOENT) return {};
  return failure("Could not remove", filePath, errno);
}

}  // namespace quillon
