#include "persist/state_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "persist/file_io.h"

namespace vtl {

namespace {

constexpr int kMaxLinks = 40;

bool copy_text(char* to, std::size_t capacity, const char* from, std::size_t length) {
  if (length >= capacity) return false;
  std::memcpy(to, from, length);
  to[length] = '\0';
  return true;
}

void close_fd(int& fd) {
  if (fd >= 0) ::close(fd);
  fd = -1;
}

}  // namespace

bool sync_requested(const char* value) {
  return value != nullptr && value[0] != '\0' && std::strcmp(value, "0") != 0;
}

StateStore::StateStore(const char* name) : durable_(sync_requested(std::getenv("VANTELO_SYNC"))) {
  resolved_ = resolve(name);
}

StateStore::~StateStore() {
  abandon();
  close_fd(file_fd_);
  close_fd(dir_fd_);  // releases the lock
}

// Follows symbolic links by hand, so that a link to a file that does not exist
// yet still names where the file is to be made.
bool StateStore::resolve(const char* name) {
  char path[PATH_MAX];
  if (!copy_text(path, sizeof path, name, std::strlen(name))) return false;
  for (int hop = 0;; ++hop) {
    struct stat info;
    if (::lstat(path, &info) != 0 || !S_ISLNK(info.st_mode)) break;
    if (hop == kMaxLinks) return false;
    char link[PATH_MAX];
    const ssize_t length = ::readlink(path, link, sizeof link);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof link) return false;
    char next[PATH_MAX];
    const char* slash = std::strrchr(path, '/');
    if (link[0] == '/' || slash == nullptr) {
      if (!copy_text(next, sizeof next, link, static_cast<std::size_t>(length))) return false;
    } else {
      // A relative link is relative to the directory of the link itself.
      const std::size_t prefix = static_cast<std::size_t>(slash - path) + 1;
      if (prefix + static_cast<std::size_t>(length) >= sizeof next) return false;
      std::memcpy(next, path, prefix);
      std::memcpy(next + prefix, link, static_cast<std::size_t>(length));
      next[prefix + static_cast<std::size_t>(length)] = '\0';
    }
    std::memcpy(path, next, sizeof path);
  }
  const std::size_t length = std::strlen(path);
  if (!copy_text(target_, sizeof target_, path, length)) return false;
  const char* slash = std::strrchr(path, '/');
  const char* base = slash == nullptr ? path : slash + 1;
  if (slash == nullptr) {
    copy_text(dir_, sizeof dir_, ".", 1);
  } else if (slash == path) {
    copy_text(dir_, sizeof dir_, "/", 1);
  } else if (!copy_text(dir_, sizeof dir_, path, static_cast<std::size_t>(slash - path))) {
    return false;
  }
  const int written = std::snprintf(temp_, sizeof temp_, "%s/.%s.tmp", dir_, base);
  return written > 0 && static_cast<std::size_t>(written) < sizeof temp_;
}

void StateStore::lock(Lock kind) {
  if (!resolved_ || dir_fd_ >= 0) return;
  dir_fd_ = open_retrying(dir_, O_RDONLY | O_DIRECTORY);
  if (dir_fd_ < 0) return;
  const int operation = kind == Lock::shared ? LOCK_SH : LOCK_EX;
  while (::flock(dir_fd_, operation) != 0 && errno == EINTR) {
  }
}

bool StateStore::open_existing(bool for_update) {
  if (!resolved_) return false;
  close_fd(file_fd_);
  // Non-blocking, so that a FIFO never holds the invocation; refused below.
  const int fd = open_retrying(target_, (for_update ? O_RDWR : O_RDONLY) | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat info;
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    return false;
  }
  file_fd_ = fd;
  opened_for_update_ = for_update;
  return true;
}

std::size_t StateStore::read_start(std::uint8_t* image, std::size_t capacity) {
  std::size_t length = 0;
  while (file_fd_ >= 0 && length < capacity) {
    const ssize_t got =
        ::pread(file_fd_, image + length, capacity - length, static_cast<off_t>(length));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    length += static_cast<std::size_t>(got);
  }
  return length;
}

bool StateStore::write_tail(int to, std::size_t from) const {
  std::uint8_t block[1 << 16];
  for (off_t at = static_cast<off_t>(from);;) {
    const ssize_t got = ::pread(file_fd_, block, sizeof block, at);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) return true;
    if (write_all(to, block, static_cast<std::size_t>(got)) != 0) return false;
    at += got;
  }
}

bool StateStore::prepare(const std::uint8_t* image, std::size_t size, bool keep_tail) {
  abandon();
  if (!resolved_) return false;
  struct stat old;
  const bool exists = ::stat(target_, &old) == 0;
  if (exists) {
    if (!S_ISREG(old.st_mode)) return false;
    // Only a file that could be written in place may be replaced (an update
    // handle, when there is one, has shown that already).
    if (!opened_for_update_) {
      const int probe = open_retrying(target_, O_WRONLY | O_NONBLOCK);
      if (probe < 0) return false;
      ::close(probe);
    }
  } else if (errno != ENOENT) {
    return false;
  }
  ::unlink(temp_);  // a name left by an invocation that was killed
  prepared_named_ = false;
  prepared_fd_ = open_retrying(dir_, O_TMPFILE | O_WRONLY, 0666);
  if (prepared_fd_ < 0) {
    // File systems without anonymous files: a named one, removed on failure.
    prepared_fd_ = open_retrying(temp_, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0666);
    if (prepared_fd_ < 0) {
      // A directory that takes no new file (no write permission, immutable)
      // still lets a writable state file be written over.
      const bool refused = errno == EACCES || errno == EPERM;
      return exists && refused && prepare_in_place(image, size, keep_tail);
    }
    prepared_named_ = true;
  }
  bool ok = true;
  if (exists) {
    ok = ::fchmod(prepared_fd_, old.st_mode & 07777) == 0;
    if (old.st_uid != ::geteuid() || old.st_gid != ::getegid()) {
      // Keeping the owner needs privileges; without them the saver owns it.
      const int kept = ::fchown(prepared_fd_, old.st_uid, old.st_gid);
      static_cast<void>(kept);
    }
  }
  ok = ok && write_all(prepared_fd_, image, size) == 0;
  if (ok && keep_tail && file_fd_ >= 0) ok = write_tail(prepared_fd_, size);
  ok = ok && (!durable_ || ::fsync(prepared_fd_) == 0);
  ok = ok && (prepared_named_ || link_prepared());
  if (!ok) abandon();
  return ok;
}

// Gives the anonymous file its temporary name, just before the rename.
bool StateStore::link_prepared() {
  char self[64];
  std::snprintf(self, sizeof self, "/proc/self/fd/%d", prepared_fd_);
  if (::linkat(prepared_fd_, "", AT_FDCWD, temp_, AT_EMPTY_PATH) != 0 &&
      ::linkat(AT_FDCWD, self, AT_FDCWD, temp_, AT_SYMLINK_FOLLOW) != 0) {
    return false;
  }
  prepared_linked_ = true;
  return true;
}

bool StateStore::prepare_in_place(const std::uint8_t* image, std::size_t size, bool keep_tail) {
  if (size > sizeof in_place_image_) return false;
  in_place_fd_ = open_retrying(target_, O_WRONLY | O_NONBLOCK);
  struct stat info;
  if (in_place_fd_ < 0 || ::fstat(in_place_fd_, &info) != 0 || !S_ISREG(info.st_mode)) {
    close_fd(in_place_fd_);
    return false;
  }
  std::memcpy(in_place_image_, image, size);
  in_place_size_ = size;
  in_place_keep_tail_ = keep_tail;
  return true;
}

// The image goes in with one write (write_all goes on only after a short one),
// so that a process killed around it leaves the old state or the new one.
bool StateStore::commit_in_place() {
  bool ok = write_all(in_place_fd_, in_place_image_, in_place_size_) == 0;
  if (ok && !in_place_keep_tail_) {
    ok = ::ftruncate(in_place_fd_, static_cast<off_t>(in_place_size_)) == 0;
  }
  if (ok && durable_) ok = ::fsync(in_place_fd_) == 0;
  close_fd(in_place_fd_);
  return ok;
}

bool StateStore::commit() {
  if (in_place_fd_ >= 0) return commit_in_place();
  if (prepared_fd_ < 0) return false;
  if (::rename(temp_, target_) != 0) {
    abandon();
    return false;
  }
  prepared_named_ = false;
  prepared_linked_ = false;
  close_fd(prepared_fd_);
  // The rename is done; a directory that cannot be synced leaves it to the kernel.
  if (durable_ && dir_fd_ >= 0) static_cast<void>(::fsync(dir_fd_));
  return true;
}

void StateStore::abandon() {
  if (prepared_named_ || prepared_linked_) ::unlink(temp_);
  prepared_named_ = false;
  prepared_linked_ = false;
  close_fd(prepared_fd_);
  close_fd(in_place_fd_);
}

}  // namespace vtl
