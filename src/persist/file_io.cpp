#include "persist/file_io.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace vtl {

int open_retrying(const char* path, int flags, mode_t mode) {
  int fd;
  do {
    fd = ::open(path, flags | O_CLOEXEC, mode);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

int write_all(int fd, const void* data, std::size_t size) {
  const auto* next = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = ::write(fd, next, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (written == 0) return EIO;
    next += written;
    size -= static_cast<std::size_t>(written);
  }
  return 0;
}

std::size_t read_up_to(int fd, void* data, std::size_t capacity) {
  auto* next = static_cast<char*>(data);
  std::size_t length = 0;
  while (length < capacity) {
    const ssize_t got = ::read(fd, next + length, capacity - length);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    length += static_cast<std::size_t>(got);
  }
  return length;
}

}  // namespace vtl
