#include "cli/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "cli/messages.h"
#include "cli/output.h"
#include "persist/file_io.h"

namespace vtl {

namespace {

// An unnamed file in the temporary directory that disappears when closed.
int anonymous_file() {
  const char* dir = std::getenv("TMPDIR");
  if (dir == nullptr || *dir == '\0') dir = "/tmp";
  int fd = open_retrying(dir, O_TMPFILE | O_RDWR, 0600);
  if (fd >= 0) return fd;
  char name[4096];
  if (std::snprintf(name, sizeof name, "%s/vantelo-input-XXXXXX", dir) >=
      static_cast<int>(sizeof name)) {
    return -1;
  }
  fd = ::mkostemp(name, O_CLOEXEC);
  if (fd >= 0) ::unlink(name);
  return fd;
}

void print_open_error(const char* what) {
  out().text("Error: could not open ");
  out().text(what);
  out().line(" !");
  print_line("Check path of file and/or name of file is correct.");
}

}  // namespace

InputFile::~InputFile() {
  if (fd_ >= 0) ::close(fd_);
}

void InputFile::rewind() const { ::lseek(fd_, 0, SEEK_SET); }

bool InputFile::spool(int source) {
  const int copy = anonymous_file();
  if (copy < 0) return false;
  char block[1 << 16];
  for (;;) {
    const ssize_t got = ::read(source, block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 || (got > 0 && write_all(copy, block, static_cast<std::size_t>(got)) != 0)) {
      ::close(copy);
      return false;
    }
    if (got == 0) break;
  }
  fd_ = copy;
  return true;
}

bool InputFile::open(const char* name, const char* what) {
  const int fd = name != nullptr ? open_retrying(name, O_RDONLY) : -1;
  struct stat info;
  bool opened = fd >= 0 && ::fstat(fd, &info) == 0 && !S_ISDIR(info.st_mode);
  if (opened && S_ISREG(info.st_mode)) {
    fd_ = fd;
  } else if (opened) {
    opened = spool(fd);
    ::close(fd);
  } else if (fd >= 0) {
    ::close(fd);
  }
  if (!opened) {
    print_open_error(what);
    return false;
  }
  const off_t end = ::lseek(fd_, 0, SEEK_END);
  size_ = end > 0 ? end : 0;
  if (size_ == 0) {
    print_line("Error: file is empty !");
    return false;
  }
  rewind();
  return true;
}

}  // namespace vtl
