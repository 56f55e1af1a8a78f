#pragma once
// The report channel: everything the front end prints goes to standard output
// through one buffer of fixed size, written with write(2), and every write is
// checked. A report that did not reach its destination is therefore known
// before the state file is replaced, and memory stays flat however long the
// report is.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vtl {

class Output {
 public:
  static constexpr std::size_t kBufferSize = 1 << 16;

  void text(std::string_view s) {
    if (kBufferSize - used_ < s.size()) {
      text_slow(s);
      return;
    }
    // Inline, so that a literal's copy has a constant size and becomes a few moves.
    std::memcpy(buffer_ + used_, s.data(), s.size());
    used_ += s.size();
  }
  void character(char c) {
    if (used_ == kBufferSize) drain();
    buffer_[used_++] = c;
  }
  void line(std::string_view s) {
    text(s);
    character('\n');
  }
  // A signed decimal, as printf's %d writes it.
  void decimal(std::int32_t value);
  // A float widened to double, as printf's %.2f writes it.
  void fixed2(float value);

  // Writes out what is buffered; false once any write has failed.
  bool flush();
  bool failed() const { return error_ != 0; }
  int error_number() const { return error_; }
  // Marks the channel as failed (standard output closed at start, for instance).
  // Nothing buffered or printed later is written.
  void fail(int error_number);

  // Writes to descriptor `fd` instead of standard output (tests and fuzzing).
  void redirect(int fd);
  // Forgets what is buffered and any failure; used between in-process runs.
  void reset();

 private:
  void text_slow(std::string_view s);
  void drain();

  char buffer_[kBufferSize];
  std::size_t used_ = 0;
  int fd_ = 1;
  int error_ = 0;
};

// The front end's one report channel.
Output& out();

// One line on standard error naming the failure of standard output. Standard
// error is used for nothing else: it is the only channel left at that point.
void report_output_failure(int error_number);

}  // namespace vtl
