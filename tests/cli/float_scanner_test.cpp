// The number scanner against glibc's fscanf("%f") on the same bytes: every
// return code, stored value (by bits), position, separator byte and end flag of
// the signal loop must agree, for generated texts biased to the hard cases.
// VTL_SCAN_DIFF_COUNT sets how many texts (default 300000), VTL_SCAN_DIFF_SEED
// the seed.

#include "cli/float_scanner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "test_util.h"

namespace vtl::test {
namespace {

// What one scan of the signal loop leaves: the scan's result and value, the
// position and end flag after it, then the byte taken after it and the flag.
struct Step {
  int result;
  std::uint32_t value;
  std::uint64_t position;
  bool at_end;
  int next;
  bool at_end_after_next;
  bool operator==(const Step&) const = default;
};

constexpr float kUntouched = -12345.678f;

std::string show(const Step& s) {
  char text[160];
  std::snprintf(text, sizeof text, "result %d value %08x position %llu end %d next %d end %d",
                s.result, s.value, static_cast<unsigned long long>(s.position), s.at_end, s.next,
                s.at_end_after_next);
  return text;
}

std::string escaped(const std::string& bytes) {
  std::string out;
  for (const unsigned char c : bytes.substr(0, 300)) {
    char hex[8];
    std::snprintf(hex, sizeof hex, "\\x%02x", c);
    out += c >= 0x20 && c < 0x7f && c != '\\' ? std::string(1, static_cast<char>(c)) : hex;
  }
  return bytes.size() > 300 ? out + "... (" + std::to_string(bytes.size()) + " bytes)" : out;
}

// Scans until a scan does not return 1, taking one byte after each scan.
template <class Scan, class Get, class Position, class AtEnd>
std::vector<Step> signal_loop(Scan scan, Get get, Position position, AtEnd at_end) {
  std::vector<Step> steps;
  for (;;) {
    float value = kUntouched;
    Step s{};
    s.result = scan(&value);
    s.value = bits(value);
    s.position = position();
    s.at_end = at_end();
    s.next = get();
    s.at_end_after_next = at_end();
    steps.push_back(s);
    if (s.result != 1) return steps;
  }
}

std::vector<Step> fscanf_steps(const std::string& bytes) {
  std::FILE* file = fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "r");
  auto steps = signal_loop([&](float* v) { return std::fscanf(file, "%f", v); },
                           [&] { return std::fgetc(file); },
                           [&] { return static_cast<std::uint64_t>(std::ftell(file)); },
                           [&] { return std::feof(file) != 0; });
  std::fclose(file);
  return steps;
}

std::vector<Step> scanner_steps(ByteReader& in) {
  return signal_loop([&](float* v) { return scan_float(in, v); }, [&] { return in.get(); },
                     [&] { return in.consumed(); }, [&] { return in.at_end(); });
}

// Empty when both readers agree, else the first difference.
std::string difference(const std::string& bytes, ByteReader& in) {
  const auto expected = fscanf_steps(bytes);
  const auto got = scanner_steps(in);
  for (std::size_t i = 0; i < expected.size() || i < got.size(); ++i) {
    if (i < expected.size() && i < got.size() && expected[i] == got[i]) continue;
    return "input \"" + escaped(bytes) + "\", scan " + std::to_string(i + 1) + ": fscanf " +
           (i < expected.size() ? show(expected[i]) : "stopped") + "; scan_float " +
           (i < got.size() ? show(got[i]) : "stopped");
  }
  return {};
}

std::string memory_difference(const std::string& bytes) {
  ByteReader in(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  return difference(bytes, in);
}

// Through a descriptor whose reads end at the given cuts (message boundaries of
// a packet socket), so that tokens straddle the reader's blocks.
std::string chunked_difference(const std::string& bytes, std::vector<std::size_t> cuts) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) return "no socket pair";
  cuts.push_back(bytes.size());
  std::size_t from = 0;
  bool sent = true;
  for (std::size_t cut : cuts) {
    cut = std::min(cut, bytes.size());
    if (cut <= from) continue;  // an empty message would read as the end
    const auto length = static_cast<ssize_t>(cut - from);
    sent &= send(ends[1], bytes.data() + from, cut - from, MSG_DONTWAIT) == length;
    from = cut;
  }
  close(ends[1]);
  if (!sent) {
    close(ends[0]);
    return "the socket did not take the text";
  }
  auto in = std::make_unique<ByteReader>(ends[0]);
  std::string result = difference(bytes, *in);
  close(ends[0]);
  return result;
}

// A temporary file holding the bytes, its descriptor at the start.
std::FILE* file_of(const std::string& bytes) {
  std::FILE* file = std::tmpfile();
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fflush(file);
  lseek(fileno(file), 0, SEEK_SET);
  return file;
}

// Through a file larger than one block.
std::string file_difference(const std::string& bytes) {
  std::FILE* file = file_of(bytes);
  auto in = std::make_unique<ByteReader>(fileno(file));
  std::string result = difference(bytes, *in);
  std::fclose(file);
  return result;
}

// ---- Texts -----------------------------------------------------------------

class Texts {
 public:
  explicit Texts(std::uint64_t seed) : rng_(seed) {}

  int uniform(int low, int high) { return std::uniform_int_distribution<int>(low, high)(rng_); }
  bool chance(int percent) { return uniform(0, 99) < percent; }
  std::string digits(int count, const char* set = "0123456789") {
    std::string out;
    const int size = static_cast<int>(std::char_traits<char>::length(set));
    for (int i = 0; i < count; ++i) out += set[uniform(0, size - 1)];
    return out;
  }
  std::string sign() { return chance(60) ? "" : chance(50) ? "-" : "+"; }

  std::string random_text() {
    static const std::string kAlphabet =
        std::string("0123456789000111+-+-..eeEExXpPinfINFtyaTYA() \t\n\v\f\r,;bcdF") + '\0' +
        "\x80\xff";
    std::string out;
    for (int n = uniform(0, 16); n > 0; --n) out += kAlphabet[uniform(0, kAlphabet.size() - 1)];
    return out;
  }

  // The exact decimal expansion of a float, a halfway point between two
  // floats, or of FLT_MAX's upper halfway point, slightly perturbed.
  std::string near_halfway() {
    static const std::uint32_t kEdges[] = {0,        1,        2,          0x7ffffe,  0x7fffff,
                                           0x800000, 0x800001, 0x7f7ffffe, 0x7f7fffff};
    const int kind = uniform(0, 3);
    const auto b = static_cast<std::uint32_t>(kind == 0   ? kEdges[uniform(0, 8)]
                                              : kind == 1 ? uniform(0, 0x7f7fffff)
                                              : kind == 2 ? uniform(0, 0x900000)
                                                          : uniform(0x3a800000, 0x447a0000));
    const double low = from_bits(b);
    const double high = b == 0x7f7fffff ? std::ldexp(1.0, 128) : from_bits(b + 1);
    const double target = chance(80) ? low / 2 + high / 2 : chance(50) ? low : high;
    char text[200];
    std::snprintf(text, sizeof text, "%.150e", target);  // exact: at most 113 digits count
    std::string mantissa = std::string(1, text[0]) + std::string(text + 2, 150);
    const int lead = std::atoi(std::strchr(text, 'e') + 1);  // the first digit's power of ten
    while (mantissa.size() > 1 && mantissa.back() == '0') mantissa.pop_back();
    switch (uniform(0, 4)) {
      case 0:
        mantissa += std::string(uniform(0, 30), '0') + "1";
        break;
      case 1:
        mantissa.resize(uniform(1, mantissa.size()));
        break;
      case 2:
        mantissa += std::string(uniform(0, 30), '0');
        break;
      case 3:
        if (mantissa.back() > '0') --mantissa.back(), mantissa += std::string(uniform(1, 20), '9');
        break;
      default:
        break;
    }
    const int exponent = lead - (static_cast<int>(mantissa.size()) - 1);
    return sign() + render(mantissa, exponent);
  }

  // digits * 10^exponent, with the point and the exponent moved about.
  std::string render(const std::string& digits, int exponent) {
    const int length = static_cast<int>(digits.size());
    const int zeros = -exponent - length;
    if (zeros >= 0 && zeros <= 60 && chance(30)) return "0." + std::string(zeros, '0') + digits;
    const int point = uniform(0, length);  // digits after the point
    const int shown = exponent + point;
    const std::string number = std::string(chance(20) ? uniform(1, 5) : 0, '0') +
                               digits.substr(0, length - point) +
                               (point > 0 || chance(10) ? "." : "") + digits.substr(length - point);
    if (shown == 0 && chance(50)) return number;
    return number + (chance(50) ? "e" : "E") +
           (shown < 0    ? "-"
            : chance(30) ? "+"
                         : "") +
           std::string(chance(10) ? uniform(1, 20) : 0, '0') + std::to_string(std::abs(shown));
  }

  std::string long_mantissa() {
    switch (uniform(0, 2)) {
      case 0:
        return sign() + "0." + std::string(uniform(0, 3000), '0') + digits(uniform(1, 1500)) +
               (chance(50) ? 'e' + std::to_string(uniform(-50, 3100)) : "");
      case 1: {
        const int n = uniform(30, 1500);
        return sign() + digits(n) + (chance(50) ? '.' + digits(uniform(0, 300)) : "") + "e-" +
               std::to_string(n + uniform(-50, 50));
      }
      default: {  // a halfway point followed by a long run of zeros, maybe then a 1
        std::string text = near_halfway();
        const std::size_t e = text.find_first_of("eE");
        const std::string tail = std::string(uniform(100, 3000), '0') + (chance(50) ? "1" : "");
        if (e == std::string::npos) return text.find('.') == std::string::npos ? text : text + tail;
        return text.find('.') < e ? text.insert(e, tail) : text;
      }
    }
  }

  std::string huge_exponent() {
    std::string mantissa = chance(20) ? "0" : chance(20) ? "0.000" : digits(uniform(1, 8));
    if (chance(50)) {
      return sign() + mantissa + "e" + sign() + digits(uniform(10, 40));
    }
    const int zeros = uniform(40, 3000);  // balanced by the exponent
    if (chance(50)) {
      return sign() + "0." + std::string(zeros, '0') + mantissa + "e" +
             std::to_string(zeros + uniform(-45, 40));
    }
    return sign() + mantissa + std::string(zeros, '0') + "e-" +
           std::to_string(zeros + uniform(-40, 45));
  }

  std::string hex_float() {
    static const char* kHex = "0123456789abcdefABCDEF";
    std::string out = sign() + (chance(50) ? "0x" : "0X");
    if (chance(30)) out += std::string(uniform(1, 20), '0');
    out += digits(uniform(0, chance(20) ? 60 : 8), kHex);
    if (chance(50)) out += '.' + digits(uniform(0, chance(20) ? 60 : 8), kHex);
    if (chance(70)) {
      out += std::string(chance(50) ? "p" : "P") + sign() +
             (chance(10) ? digits(uniform(10, 25)) : std::to_string(uniform(0, 300)));
    }
    return out;
  }

  std::string typical_line() {
    std::string out;
    for (int v = 0; v < 3; ++v) {
      char number[32];
      std::snprintf(number, sizeof number, "%.*f", uniform(0, 8),
                    std::uniform_real_distribution<double>(-30, 30)(rng_));
      if (chance(10)) out += ' ';
      out += number;
      out += v < 2 ? "," : chance(20) ? "\r\n" : "\n";
    }
    return out;
  }

  // A text with white space before it, another text or a stray byte after it.
  std::string in_context(std::string text) {
    static const char* kAfter[] = {"",  ",", "\n", " ", ";", "x", "e", "E", "+",
                                   "-", ".", "p",  "(", "0", "1", "n", "i", "\x80"};
    if (chance(20)) text = std::string(uniform(1, 3), chance(50) ? ' ' : '\t') + text;
    text += chance(5) ? std::string(1, '\0') : kAfter[uniform(0, 17)];
    return text;
  }

  std::vector<std::size_t> cuts(std::size_t size) {
    std::vector<std::size_t> out;
    for (int n = uniform(1, 6); n > 0; --n) out.push_back(uniform(0, static_cast<int>(size)));
    std::sort(out.begin(), out.end());
    return out;
  }

 private:
  std::mt19937_64 rng_;
};

std::uint64_t env_number(const char* name, std::uint64_t fallback) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : fallback;
}

// Runs share/100 of the texts of one kind, each also through a chunked
// descriptor once in sixteen; stops at the first difference.
template <class Make>
void compare_generated(int share, std::uint64_t seed_offset, Make make) {
  const std::uint64_t count = env_number("VTL_SCAN_DIFF_COUNT", 300000) * share / 100;
  Texts texts(env_number("VTL_SCAN_DIFF_SEED", 1) * 1000003 + seed_offset);
  for (std::uint64_t i = 0; i < count; ++i) {
    std::string text = texts.in_context(make(texts));
    while (texts.chance(30)) text += texts.in_context(make(texts));
    std::string diff = memory_difference(text);
    if (diff.empty() && i % 16 == 0 && text.size() < 32768) {
      diff = chunked_difference(text, texts.cuts(text.size()));
    }
    ASSERT_EQ(diff, "");
  }
}

TEST(FloatScannerDiff, RandomTexts) {
  compare_generated(40, 1, [](Texts& t) { return t.random_text(); });
}
TEST(FloatScannerDiff, NearHalfwayPoints) {
  compare_generated(30, 2, [](Texts& t) { return t.near_halfway(); });
}
TEST(FloatScannerDiff, LongMantissas) {
  compare_generated(3, 3, [](Texts& t) { return t.long_mantissa(); });
}
TEST(FloatScannerDiff, HugeExponents) {
  compare_generated(7, 4, [](Texts& t) { return t.huge_exponent(); });
}
TEST(FloatScannerDiff, HexFloats) {
  compare_generated(10, 5, [](Texts& t) { return t.hex_float(); });
}
TEST(FloatScannerDiff, TypicalLines) {
  compare_generated(10, 6, [](Texts& t) { return t.typical_line(); });
}

// The forms glibc reads in its own way, failures included.
TEST(FloatScannerDiff, NotableTexts) {
  const std::vector<const char*> kTexts[] = {
      {"",      " ",     " \t\n\v\f\r7", "-",     "+",
       ".",     ".e",    "-x",           "+.e1",  "e5",
       "--1",   "1e",    "1e+",          "1e+x",  "0e5",
       "-.5",   "-0",    "0.e1",         "1e5.",  "1.2.3",
       "1e5e3", "1e-+5", "1\x80",        "\2001", "0.3012,0.1987,9.8100\n"},
      {"nan(123)x", "-nan", "NaN", "nax", "n", "na", "infinity", "INFINITYx", "infinit", "infi",
       "infinx", "inf", "-inf,", "i"},
      {"0x", "0x1p", "0xp1", "0x.", "0x.p1", "-0x.", "00x1", "0x1e+5", "0x1.8p3", "0X.8P-1", "0xg",
       "-0xg", "0x1p+"},
      {"3.4028235e38", "3.4028236e38", "1e39", "1e-46",
       // Half of the smallest subnormal, and the smallest subnormal, written out.
       "7.006492321624085354618647916449580656401309709382578858785341419448955413429303e-46",
       "1.40129846432481707092372958328991613128026194187651577175706828388979108268586060148"
       "663818836212158203125e-45"}};
  for (const auto& group : kTexts) {
    for (const char* text : group) EXPECT_EQ(memory_difference(text), "");
  }
  // A NUL byte after, before or inside a number.
  using namespace std::string_literals;
  for (const std::string& text : {"1\0002"s, "\0001"s, " \0001"s, "-\0001"s}) {
    EXPECT_EQ(memory_difference(text), "");
  }
}

// The sign of "-nan", and what the failures consume, spelled out.
TEST(FloatScanner, SignsAndConsumedBytesMatchFscanf) {
  const auto scan = [](const char* text, std::uint64_t consumed, int result) {
    ByteReader in(reinterpret_cast<const unsigned char*>(text), std::strlen(text));
    float value = kUntouched;
    EXPECT_EQ(scan_float(in, &value), result) << text;
    EXPECT_EQ(in.consumed(), consumed) << text;
    return value;
  };
  EXPECT_FLOAT_BITS(from_bits(0xffc00000), scan("-nan", 4, 1));
  EXPECT_FLOAT_BITS(-0.0f, scan("-0x.", 4, 1));
  EXPECT_FLOAT_BITS(-kInf, scan("-1e999999999999", 15, 1));
  EXPECT_FLOAT_BITS(kUntouched, scan("infinx", 6, 0));
  EXPECT_FLOAT_BITS(kUntouched, scan("+.e1", 2, 0));
  EXPECT_FLOAT_BITS(kUntouched, scan(" \n", 2, -1));
}

// Tokens that straddle the first block of a file, at every offset.
TEST(FloatScannerDiff, TokensAcrossBlocks) {
  Texts texts(7);
  std::vector<std::string> tokens = {"0.30120000000000000000001",
                                     "1e+",
                                     "infinity",
                                     "-nan",
                                     "0x1.8p3",
                                     "1e999999999999",
                                     "-0.0,",
                                     "infinx",
                                     "00x1"};
  for (int i = 0; i < 6; ++i) tokens.push_back(texts.near_halfway());
  for (const std::string& token : tokens) {
    for (std::size_t k = 0; k <= token.size() + 1; ++k) {
      const std::string text = std::string(ByteReader::kBlockSize - k, ' ') + token + ",1\n";
      ASSERT_EQ(file_difference(text), "");
    }
  }
  std::string lines;
  while (lines.size() < 3 * ByteReader::kBlockSize) lines += texts.in_context(texts.typical_line());
  EXPECT_EQ(file_difference(lines), "");
}

TEST(ByteReader, UngetCrossesABlockBoundaryAndTheEndStays) {
  std::string bytes(ByteReader::kBlockSize + 2, 'a');
  bytes[ByteReader::kBlockSize - 1] = 'b';
  bytes[ByteReader::kBlockSize] = 'c';
  std::FILE* file = file_of(bytes);
  auto in = std::make_unique<ByteReader>(fileno(file));
  for (std::size_t i = 1; i < ByteReader::kBlockSize; ++i) in->get();
  EXPECT_EQ(in->get(), 'b');  // the last byte of the first block
  in->unget();
  EXPECT_EQ(in->get(), 'b');
  EXPECT_EQ(in->get(), 'c');  // the first byte of the second block
  in->unget();
  EXPECT_EQ(in->consumed(), ByteReader::kBlockSize);
  EXPECT_EQ(in->get(), 'c');
  EXPECT_EQ(in->get(), 'a');
  EXPECT_EQ(in->get(), ByteReader::kEnd);
  EXPECT_TRUE(in->at_end());
  std::fputs("more", file);  // the end stays, as stdio's does
  std::fflush(file);
  EXPECT_EQ(in->get(), ByteReader::kEnd);
  EXPECT_EQ(in->consumed(), bytes.size());
  std::fclose(file);
}

TEST(ByteReader, ABrokenDescriptorFailsWithoutReachingTheEnd) {
  auto broken = std::make_unique<ByteReader>(-1);
  float value = kUntouched;
  EXPECT_EQ(scan_float(*broken, &value), -1);
  EXPECT_TRUE(broken->failed());
  EXPECT_FALSE(broken->at_end());
}

TEST(FloatScanner, ReadsSignals) {
  const std::string text = "0.3012,0.1987,9.8100\n-1e-3 2\t7x\n5,6\n";
  ByteReader in(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  float signal[3];
  ASSERT_TRUE(read_signal_values(in, signal));
  EXPECT_FLOAT_BITS(std::strtof("9.8100", nullptr), signal[2]);
  ASSERT_TRUE(read_signal_values(in, signal));
  EXPECT_FLOAT_BITS(-1e-3f, signal[0]);
  EXPECT_FLOAT_BITS(7.0f, signal[2]);            // 'x' is its separator
  EXPECT_FALSE(read_signal_values(in, signal));  // "5,6": the third number is missing
  EXPECT_FLOAT_BITS(6.0f, signal[1]);
  EXPECT_TRUE(in.at_end());
}

}  // namespace
}  // namespace vtl::test
