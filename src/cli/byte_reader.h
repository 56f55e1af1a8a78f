#pragma once
// A buffered byte reader over a file descriptor or a memory block, with the
// end-of-input and error indicators of a stdio stream: the signal-file reader
// scans numbers from it without the cost of stdio's locking and locale.

#include <cstddef>
#include <cstdint>

namespace vtl {

class ByteReader {
 public:
  static constexpr int kEnd = -1;
  static constexpr std::size_t kBlockSize = std::size_t{1} << 16;

  // Reads fd from its current offset, one block at a time; the fd stays open.
  explicit ByteReader(int fd);
  // Reads the size bytes at data, which must outlive the reader.
  ByteReader(const unsigned char* data, std::size_t size);
  ByteReader(const ByteReader&) = delete;
  ByteReader& operator=(const ByteReader&) = delete;

  // The next byte (0..255), or kEnd once the input is exhausted or a read
  // failed. The end is sticky, as stdio's end-of-file indicator is: after it,
  // every get() returns kEnd even if the file has grown.
  int get() {
    if (cur_ != end_) [[likely]]
      return *cur_++;
    return get_from_next_block();
  }
  // Puts back the byte that the last get() returned (one byte, and never after
  // kEnd), as ungetc after getc does.
  void unget() { --cur_; }

  bool at_end() const { return at_end_; }  // a get() met the end of the input
  bool failed() const { return failed_; }  // a read() failed (EINTR is retried)
  std::uint64_t consumed() const {         // bytes taken by get() and skip_to()
    return block_offset_ + static_cast<std::uint64_t>(cur_ - block_start_);
  }

  // The bytes already buffered ahead of the reader: [ahead(), ahead_end()).
  // A scanner may look at them and then consume up to any point with skip_to().
  const unsigned char* ahead() const { return cur_; }
  const unsigned char* ahead_end() const { return end_; }
  void skip_to(const unsigned char* position) { cur_ = position; }

 private:
  int get_from_next_block();

  const unsigned char* cur_;
  const unsigned char* end_;
  const unsigned char* block_start_;  // where the bytes of the current block begin
  std::uint64_t block_offset_ = 0;    // input offset of block_start_
  int fd_ = -1;
  bool from_memory_ = false;
  bool at_end_ = false;
  bool failed_ = false;
  // buffer_[0] keeps the last byte of the previous block, so that unget()
  // works right after a block change.
  unsigned char buffer_[1 + kBlockSize];
};

}  // namespace vtl
