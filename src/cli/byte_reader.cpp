#include "cli/byte_reader.h"

#include <unistd.h>

#include <cerrno>

namespace vtl {

ByteReader::ByteReader(int fd)
    : cur_(buffer_ + 1), end_(buffer_ + 1), block_start_(buffer_ + 1), fd_(fd) {}

ByteReader::ByteReader(const unsigned char* data, std::size_t size)
    : cur_(data), end_(data + size), block_start_(data), from_memory_(true) {}

int ByteReader::get_from_next_block() {
  if (at_end_ || failed_) return kEnd;
  if (from_memory_) {
    at_end_ = true;
    return kEnd;
  }
  // The spent block's last byte moves before the new one, for unget().
  const unsigned char last = end_ != block_start_ ? end_[-1] : 0;
  ssize_t got;
  do {
    got = ::read(fd_, buffer_ + 1, kBlockSize);
  } while (got < 0 && errno == EINTR);
  if (got <= 0) {
    (got == 0 ? at_end_ : failed_) = true;
    return kEnd;
  }
  buffer_[0] = last;
  block_offset_ += static_cast<std::uint64_t>(end_ - block_start_);
  block_start_ = buffer_ + 1;
  cur_ = block_start_;
  end_ = block_start_ + got;
  return *cur_++;
}

}  // namespace vtl
