#include "cli/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "persist/file_io.h"

namespace vtl {

namespace {

Output the_output;

// "00" to "99", so that a number's digits are made two at a time.
constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

constexpr std::size_t kLongestDecimal = 11;  // "-2147483648"

constexpr std::uint32_t kPowersOfTen[] = {10,      100,      1000,      10000,     100000,
                                          1000000, 10000000, 100000000, 1000000000};

std::size_t digit_count(std::uint32_t magnitude) {
  std::size_t count = 1;
  for (const std::uint32_t power : kPowersOfTen) count += magnitude >= power ? 1 : 0;
  return count;
}

// Writes the decimal digits of magnitude so that the last one ends just before end.
void put_digits_before(char* end, std::uint32_t magnitude) {
  char* p = end;
  while (magnitude >= 100) {
    const std::uint32_t pair = magnitude % 100;
    magnitude /= 100;
    p -= 2;
    std::memcpy(p, kDigitPairs + 2 * pair, 2);
  }
  if (magnitude >= 10) {
    std::memcpy(p - 2, kDigitPairs + 2 * magnitude, 2);
  } else {
    p[-1] = static_cast<char>('0' + magnitude);
  }
}

}  // namespace

Output& out() { return the_output; }

void Output::decimal(std::int32_t value) {
  // Works on the magnitude as unsigned, so that the smallest value has one.
  const std::uint32_t magnitude =
      value < 0 ? 0u - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
  const std::size_t length = (value < 0 ? 1 : 0) + digit_count(magnitude);
  if (kBufferSize - used_ < length) {
    char digits[kLongestDecimal];
    char* const end = digits + length;
    digits[0] = '-';  // the digits write over it unless the value is negative
    put_digits_before(end, magnitude);
    text_slow(std::string_view(digits, length));
    return;
  }
  // Straight into the buffer: digits stored and then read back would wait
  // for the stores to land, which costs more than making them.
  char* const start = buffer_ + used_;
  start[0] = '-';  // as above
  put_digits_before(start + length, magnitude);
  used_ += length;
}

void Output::fixed2(float value) {
  // %.2f of the largest float has 39 digits before the point.
  char digits[64];
  const int length = std::snprintf(digits, sizeof digits, "%.2f", static_cast<double>(value));
  if (length > 0) text(std::string_view(digits, static_cast<std::size_t>(length)));
}

void Output::text_slow(std::string_view s) {
  while (!s.empty()) {
    if (used_ == kBufferSize) drain();
    const std::size_t room = kBufferSize - used_;
    const std::size_t part = s.size() < room ? s.size() : room;
    std::memcpy(buffer_ + used_, s.data(), part);
    used_ += part;
    s.remove_prefix(part);
  }
}

void Output::drain() {
  if (error_ == 0) error_ = write_all(fd_, buffer_, used_);
  used_ = 0;
}

bool Output::flush() {
  drain();
  return error_ == 0;
}

void Output::fail(int error_number) {
  if (error_ == 0) error_ = error_number;
}

void Output::redirect(int fd) { fd_ = fd; }

void Output::reset() {
  used_ = 0;
  error_ = 0;
}

void report_output_failure(int error_number) {
  char line[256];
  const int length =
      std::snprintf(line, sizeof line, "Error: could not write to standard output (%s) !\n",
                    std::strerror(error_number));
  if (length > 0) {
    const std::size_t size = static_cast<std::size_t>(length) < sizeof line
                                 ? static_cast<std::size_t>(length)
                                 : sizeof line - 1;
    write_all(2, line, size);
  }
}

}  // namespace vtl
