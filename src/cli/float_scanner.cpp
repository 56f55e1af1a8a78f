#include "cli/float_scanner.h"

#include <fast_float/fast_float.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace vtl {

namespace {

constexpr int kConverted = 1;
constexpr int kNotANumber = 0;
constexpr int kInputEnd = -1;  // EOF
constexpr int kEnd = ByteReader::kEnd;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();  // strtof's "nan"

// Byte classes of the C locale; bytes from 0x80 up are in none of them.
enum : std::uint8_t { kSpace = 1, kDigit = 2 };

constexpr std::array<std::uint8_t, 256> make_classes() {
  std::array<std::uint8_t, 256> classes{};
  for (const std::size_t c : {0x20u, 0x09u, 0x0Au, 0x0Bu, 0x0Cu, 0x0Du})
    classes[c] = kSpace;  // " \t\n\v\f\r"
  for (std::size_t c = '0'; c <= '9'; ++c) classes[c] = kDigit;
  return classes;
}
constexpr std::array<std::uint8_t, 256> kClasses = make_classes();

// These take a byte or kEnd.
bool is_space(int c) { return c != kEnd && (kClasses[static_cast<std::size_t>(c)] & kSpace) != 0; }
bool is_digit(int c) { return c >= '0' && c <= '9'; }
int lower(int c) { return c | 0x20; }  // ASCII letters only; nothing else maps onto them

int store(float* value, float magnitude, bool negative) {
  *value = negative ? -magnitude : magnitude;
  return kConverted;
}

// ---- The fast path: short decimal numbers inside the buffered bytes --------

constexpr float kExactPowersOfTen[] = {1e0f, 1e1f, 1e2f, 1e3f, 1e4f, 1e5f,
                                       1e6f, 1e7f, 1e8f, 1e9f, 1e10f};
constexpr int kMaxExactPower = 10;
constexpr std::uint64_t kMaxExactMantissa = std::uint64_t{1} << 24;
constexpr int kMaxFastDigits = 19;  // digits a uint64 holds

constexpr std::uint64_t kIntegerPowersOfTen[] = {1,      10,      100,      1000,     10000,
                                                 100000, 1000000, 10000000, 100000000};

// The value of eight digit values, one per byte, the first in the lowest byte.
std::uint64_t eight_digits_value(std::uint64_t values) {
  values = values * 10 + (values >> 8);  // pairs
  constexpr std::uint64_t kMask = 0x000000ff000000ff;
  constexpr std::uint64_t kHigh = 100 + (std::uint64_t{1000000} << 32);
  constexpr std::uint64_t kLow = 1 + (std::uint64_t{10000} << 32);
  return ((values & kMask) * kHigh + ((values >> 16) & kMask) * kLow) >> 32;
}

// Appends the digits from p on to mantissa (wrapping past 19 digits) and
// returns the first byte after them; eight bytes at a time while eight are
// buffered.
const unsigned char* add_digits(const unsigned char* p, const unsigned char* end,
                                std::uint64_t& mantissa) {
  if constexpr (std::endian::native == std::endian::little) {
    while (end - p >= 8) {
      std::uint64_t word;
      std::memcpy(&word, p, sizeof word);
      // A digit byte becomes 0..9, which sets no high bit either alone or plus
      // 0x76; any other byte sets one. Bytes below '0' borrow from the bytes
      // after them, which are dropped anyway.
      const std::uint64_t values = word - 0x3030303030303030;
      const std::uint64_t others = (values | (values + 0x7676767676767676)) & 0x8080808080808080;
      const int count = others == 0 ? 8 : std::countr_zero(others) / 8;
      if (count == 0) return p;
      mantissa = mantissa * kIntegerPowersOfTen[count] +
                 eight_digits_value(values << (64 - 8 * count));  // leading zero digits
      p += count;
      if (count < 8) return p;
    }
  }
  for (; p != end && is_digit(*p); ++p) mantissa = mantissa * 10 + (*p - '0');
  return p;
}

// Mantissa times a power of ten, when both are exact floats: one correctly
// rounded operation (Clinger). Otherwise fast_float reads the token text.
float decimal_value(std::uint64_t mantissa, int exponent, const unsigned char* text,
                    const unsigned char* text_end) {
  if (mantissa == 0) return 0.0f;
  if (mantissa <= kMaxExactMantissa && exponent >= -kMaxExactPower && exponent <= kMaxExactPower) {
    const float exact = static_cast<float>(mantissa);
    return exponent < 0 ? exact / kExactPowersOfTen[-exponent]
                        : exact * kExactPowersOfTen[exponent];
  }
  float result = 0.0f;
  fast_float::from_chars(reinterpret_cast<const char*>(text),
                         reinterpret_cast<const char*>(text_end), result);
  return result;
}

// Reads a decimal number with at most kMaxFastDigits mantissa digits that lies
// in the buffered bytes together with the byte that ends it. Returns false when
// the general path must read the token; the reader has then consumed white
// space at most.
bool scan_short_decimal(ByteReader& in, float* value) {
  const unsigned char* p = in.ahead();
  const unsigned char* const end = in.ahead_end();
  while (p != end && (kClasses[*p] & kSpace) != 0) ++p;
  in.skip_to(p);
  if (p == end) return false;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  const unsigned char* const text = p;
  if (p != end && *p == '0' && (p + 1 == end || lower(p[1]) == 'x')) return false;

  std::uint64_t mantissa = 0;  // integer parts are short: byte by byte
  for (; p != end && is_digit(*p); ++p) mantissa = mantissa * 10 + (*p - '0');
  std::ptrdiff_t digits = p - text;
  int exponent = 0;
  if (p != end && *p == '.') {  // fractions are longer: eight bytes at a time
    const unsigned char* const fraction = ++p;
    p = add_digits(p, end, mantissa);
    if (p - fraction > kMaxFastDigits) return false;
    exponent = static_cast<int>(fraction - p);
    digits -= exponent;
  }
  if (digits == 0) return false;  // failures, "inf", "nan": the general path
  if (digits > kMaxFastDigits) return false;

  if (p != end && lower(*p) == 'e') {
    ++p;
    const bool negative_exponent = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+')) ++p;
    int power = 0;
    for (; p != end && is_digit(*p); ++p) {
      if (power < 100000) power = power * 10 + (*p - '0');
    }
    exponent += negative_exponent ? -power : power;
  }
  if (p == end) return false;  // the token may go on past the buffered bytes
  in.skip_to(p);
  store(value, decimal_value(mantissa, exponent, text, p), negative);
  return true;
}

// ---- The general path: any token, any length, byte by byte ----------------

// The digits of an exponent, saturated far beyond any float's range but low
// enough that adding any countable number of mantissa digits cannot overflow.
class ExponentDigits {
 public:
  void add(int digit) {
    seen_ = true;
    if (magnitude_ < kSaturation) magnitude_ = magnitude_ * 10 + digit;
  }
  void set_sign(int sign) { negative_ = sign == '-'; }
  // An exponent without digits does not count.
  std::int64_t value() const { return !seen_ ? 0 : negative_ ? -magnitude_ : magnitude_; }

 private:
  static constexpr std::int64_t kSaturation = 100'000'000'000'000'000;
  std::int64_t magnitude_ = 0;
  bool negative_ = false;
  bool seen_ = false;
};

// Significant decimal digits in fixed memory. A float's rounding is decided
// by its first 114 significant digits and whether any digit after them is
// nonzero (no halfway point between floats has more), so the digits beyond
// kKept collapse into one sticky nonzero digit and leading zeros into the
// exponent.
class DecimalMantissa {
 public:
  static constexpr int kExponentChar = 'e';
  static int digit_value(int c) { return is_digit(c) ? c - '0' : -1; }

  void add(int digit) {
    seen_ = true;
    if (count_ < kKept && (count_ > 0 || digit != 0)) {
      digits_[count_++] = static_cast<char>('0' + digit);
      if (after_point_) --exponent_;
    } else if (count_ == 0) {  // a leading zero
      if (after_point_) --exponent_;
    } else {
      if (!after_point_) ++exponent_;
      dropped_nonzero_ |= digit != 0;
    }
  }
  void mark_point() { after_point_ = true; }
  bool empty() const { return !seen_; }

  float to_float(std::int64_t exponent) const {
    if (count_ == 0) return 0.0f;
    char text[kKept + 1 + 24];
    int length = count_;
    std::copy(digits_, digits_ + count_, text);
    exponent += exponent_;  // the value is text * 10^exponent
    if (dropped_nonzero_) {
      text[length++] = '1';
      --exponent;
    }
    if (exponent + length - 1 >= 39) return kInfinity;  // beyond FLT_MAX + half an ulp
    if (exponent + length <= -46) return 0.0f;          // below half the least subnormal
    text[length++] = 'e';
    char* const end = std::to_chars(text + length, text + sizeof text, exponent).ptr;
    float result = 0.0f;
    fast_float::from_chars(text, end, result);
    return result;
  }

 private:
  static constexpr int kKept = 120;
  char digits_[kKept];
  int count_ = 0;
  std::int64_t exponent_ = 0;  // power of ten of the last kept digit
  bool seen_ = false;
  bool after_point_ = false;
  bool dropped_nonzero_ = false;
};

// Significant hexadecimal digits in fixed memory: 15 digits hold far more bits
// than a float rounds to; later ones collapse into a sticky nonzero digit.
class HexMantissa {
 public:
  static constexpr int kExponentChar = 'p';
  static int digit_value(int c) {
    if (is_digit(c)) return c - '0';
    return lower(c) >= 'a' && lower(c) <= 'f' ? lower(c) - 'a' + 10 : -1;
  }

  void add(int digit) {
    if (count_ < kKept && (count_ > 0 || digit != 0)) {
      bits_ = bits_ << 4 | static_cast<std::uint64_t>(digit);
      ++count_;
      if (after_point_) exponent_ -= 4;
    } else if (count_ == 0) {  // a leading zero
      if (after_point_) exponent_ -= 4;
    } else {
      if (!after_point_) exponent_ += 4;
      dropped_nonzero_ |= digit != 0;
    }
  }
  void mark_point() { after_point_ = true; }

  // Hexadecimal numbers are rare: strtof rounds the condensed token.
  float to_float(std::int64_t exponent) const {
    if (bits_ == 0) return 0.0f;  // also "0x." without digits, read as "0"
    std::uint64_t bits = bits_;
    exponent += exponent_;  // the value is bits * 2^exponent
    if (dropped_nonzero_) {
      bits = bits << 4 | 1;
      exponent -= 4;
    }
    const int width = static_cast<int>(std::bit_width(bits));
    if (exponent + width - 1 >= 128) return kInfinity;
    if (exponent + width <= -150) return 0.0f;
    char text[48];
    std::snprintf(text, sizeof text, "0x%llxp%lld", static_cast<unsigned long long>(bits),
                  static_cast<long long>(exponent));
    return std::strtof(text, nullptr);
  }

 private:
  static constexpr int kKept = 15;
  std::uint64_t bits_ = 0;
  int count_ = 0;
  std::int64_t exponent_ = 0;  // power of two of the last kept digit
  bool after_point_ = false;
  bool dropped_nonzero_ = false;
};

// The digit loop of glibc's %f from byte c on: mantissa digits, one point,
// an exponent character once a mantissa digit was seen, a sign right after it,
// exponent digits. The first byte that fits nowhere is put back. Returns
// whether any byte was taken.
template <class Mantissa>
bool scan_digits(ByteReader& in, int c, Mantissa& mantissa, ExponentDigits& exponent,
                 bool got_digit) {
  bool got_dot = false;
  bool got_exponent = false;
  bool taken = false;
  for (bool after_exponent_char = false; c != kEnd; c = in.get(), taken = true) {
    const bool sign_allowed = after_exponent_char;
    after_exponent_char = false;
    int digit;
    if (got_exponent && is_digit(c)) {
      exponent.add(c - '0');
    } else if (!got_exponent && (digit = Mantissa::digit_value(c)) >= 0) {
      mantissa.add(digit);
      got_digit = true;
    } else if (sign_allowed && (c == '-' || c == '+')) {
      exponent.set_sign(c);
    } else if (got_digit && !got_exponent && lower(c) == Mantissa::kExponentChar) {
      got_exponent = got_dot = after_exponent_char = true;
    } else if (!got_dot && c == '.') {
      got_dot = true;
      mantissa.mark_point();
    } else {
      in.unget();
      break;
    }
  }
  return taken;
}

// Matches the rest of a word in any case; the mismatching byte stays consumed.
bool match_rest(ByteReader& in, const char* rest) {
  for (; *rest != '\0'; ++rest) {
    const int c = in.get();
    if (c == kEnd || lower(c) != *rest) return false;
  }
  return true;
}

// After "i": "inf" or "infinity". A partial "infinity" is not a number.
int scan_infinity(ByteReader& in, float* value, bool negative) {
  if (!match_rest(in, "nf")) return kNotANumber;
  const int c = in.get();
  if (c != kEnd) {
    if (lower(c) != 'i') {
      in.unget();
    } else if (!match_rest(in, "nity")) {
      return kNotANumber;
    }
  }
  return store(value, kInfinity, negative);
}

// From the first byte after the sign. "0x" needs a byte after it; a
// decimal number needs a mantissa digit.
int scan_number(ByteReader& in, int c, float* value, bool negative) {
  ExponentDigits exponent;
  if (c == '0') {
    c = in.get();
    if (c != kEnd && lower(c) == 'x') {
      HexMantissa mantissa;
      if (!scan_digits(in, in.get(), mantissa, exponent, false)) return kNotANumber;
      return store(value, mantissa.to_float(exponent.value()), negative);
    }
    DecimalMantissa mantissa;
    mantissa.add(0);
    scan_digits(in, c, mantissa, exponent, true);
    return store(value, mantissa.to_float(exponent.value()), negative);
  }
  DecimalMantissa mantissa;
  scan_digits(in, c, mantissa, exponent, false);
  if (mantissa.empty()) return kNotANumber;
  return store(value, mantissa.to_float(exponent.value()), negative);
}

int scan_general(ByteReader& in, float* value) {
  int c;
  do {
    c = in.get();
  } while (is_space(c));
  if (c == kEnd) return kInputEnd;
  bool negative = false;
  if (c == '-' || c == '+') {
    negative = c == '-';
    c = in.get();
    if (c == kEnd) return kNotANumber;  // after a sign the end is a mismatch
  }
  if (lower(c) == 'n') {
    return match_rest(in, "an") ? store(value, kNaN, negative) : kNotANumber;
  }
  if (lower(c) == 'i') return scan_infinity(in, value, negative);
  return scan_number(in, c, value, negative);
}

}  // namespace

int scan_float(ByteReader& in, float* value) {
  if (scan_short_decimal(in, value)) return kConverted;
  return scan_general(in, value);
}

bool read_signal_values(ByteReader& in, float out[3]) {
  for (int v = 0; v < 3; ++v) {
    if (scan_float(in, &out[v]) != kConverted) return false;
    in.get();
  }
  return true;
}

}  // namespace vtl
