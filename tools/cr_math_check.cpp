// Checks cr_acosf, cr_sinf and cr_logf against MPFR, bit for bit, over all 2^32
// float inputs, a strided subset of them, or a list of inputs read from a file.
//
//   cr_math_check [--function acos|sin|log|all] [--stride N] [--threads N]
//                 [--from HEX] [--to HEX] [--inputs FILE] [--compare-libm]
//                 [--show N] [--corrections] [--hard-list N] [--digest] [--odd]
//
// --stride N checks every N-th bit pattern, starting at an offset below N so
//   that both signs and every exponent are covered for any N up to 2^22.
// --from HEX, --to HEX limit the check to the bit patterns in [from, to).
// --inputs FILE checks the hex bit patterns of FILE, one a line, each either
//   alone (checked for every selected function) or after a function name;
//   '#' starts a comment.
// --compare-libm also counts the host library's mismatches (::acosf, ...).
// --show N lists up to N mismatches per function (default 8).
// --corrections scans the double evaluations and prints, as C++ rows for
//   src/base/cr_math_corrections.inc, the inputs near a float midpoint that
//   round the wrong way; --hard-list N also prints the N inputs nearest to one.
// --digest prints a hash of the results for all 2^32 inputs (with --stride N,
//   every N-th of each block of 2^24), without MPFR: builds with other
//   compilers or flags must print the same.
// --odd checks, without MPFR, that sin(-x) is -sin(x) bit for bit for every x:
//   with the non-negative half checked against MPFR this covers all inputs, at
//   half the cost, since the correctly rounded sine is odd.
// Exits with 1 when any mismatch of the cr_ functions is found.
#include <mpfr.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "base/cr_math.h"
#include "base/cr_math_internal.h"

namespace {

using MpfrFunction = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);

struct Function {
  const char* name;
  float (*cr)(float);
  float (*libm)(float);
  MpfrFunction mpfr;
  double (*estimate)(float);
  bool (*in_estimate_domain)(std::uint32_t bits);
  bool odd;  // corrections keyed by |x|
};

bool acos_domain(std::uint32_t b) { return (b & 0x7fffffffu) <= 0x3f800000u; }
bool sin_domain(std::uint32_t b) {
  return (b >> 31) == 0 && b >= 0x39800000u && b < 0x7f800000u;
}
bool log_domain(std::uint32_t b) { return b >= 1u && b < 0x7f800000u; }
float libm_acos(float x) { return ::acosf(x); }
float libm_sin(float x) { return ::sinf(x); }
float libm_log(float x) { return ::logf(x); }

const Function kFunctions[] = {
    {"acos", vtl::cr_acosf, libm_acos, mpfr_acos, vtl::cr_math_internal::acos_estimate,
     acos_domain, false},
    {"sin", vtl::cr_sinf, libm_sin, mpfr_sin, vtl::cr_math_internal::sin_estimate, sin_domain,
     true},
    {"log", vtl::cr_logf, libm_log, mpfr_log, vtl::cr_math_internal::log_estimate, log_domain,
     false},
};

struct Options {
  std::vector<const Function*> functions;
  std::uint64_t stride = 1;
  std::uint64_t from = 0;
  std::uint64_t to = std::uint64_t{1} << 32;
  bool odd = false;
  unsigned threads = 0;
  std::string inputs;
  bool compare_libm = false;
  std::size_t show = 8;
  bool corrections = false;
  std::size_t hard_list = 0;
  bool digest = false;
};

// MPFR's correctly rounded float result, subnormals included.
class Reference {
 public:
  Reference() {
    mpfr_set_emin(-148);  // the exponent of 2^-149 in MPFR's [0.5, 1) convention
    mpfr_set_emax(128);
    mpfr_init2(in_, 24);
    mpfr_init2(out_, 24);
  }
  ~Reference() {
    mpfr_clear(in_);
    mpfr_clear(out_);
    mpfr_free_cache2(MPFR_FREE_LOCAL_CACHE);  // the constants this thread cached
  }
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;

  float operator()(MpfrFunction f, float x) {
    mpfr_set_flt(in_, x, MPFR_RNDN);
    int inexact = f(out_, in_, MPFR_RNDN);
    mpfr_subnormalize(out_, inexact, MPFR_RNDN);
    return mpfr_get_flt(out_, MPFR_RNDN);
  }

 private:
  mpfr_t in_;
  mpfr_t out_;
};

bool same(float a, float b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

struct Mismatch {
  std::uint32_t input;
  float got;
  float want;
};

struct Tally {
  std::uint64_t checked = 0;
  std::uint64_t wrong = 0;
  std::uint64_t libm_wrong = 0;
  std::vector<Mismatch> first;       // smallest inputs, cr_ function
  std::vector<Mismatch> libm_first;  // smallest inputs, host library
};

void keep_first(std::vector<Mismatch>& list, const Mismatch& m, std::size_t limit) {
  if (limit == 0) return;
  list.push_back(m);
  std::sort(list.begin(), list.end(),
            [](const Mismatch& a, const Mismatch& b) { return a.input < b.input; });
  if (list.size() > limit) list.resize(limit);
}

void merge(Tally& into, const Tally& from, std::size_t limit) {
  into.checked += from.checked;
  into.wrong += from.wrong;
  into.libm_wrong += from.libm_wrong;
  for (const Mismatch& m : from.first) keep_first(into.first, m, limit);
  for (const Mismatch& m : from.libm_first) keep_first(into.libm_first, m, limit);
}

void check_one(const Function& f, std::uint32_t bits, const Options& opt, Reference& ref,
               Tally& t) {
  const float x = std::bit_cast<float>(bits);
  const float want = ref(f.mpfr, x);
  const float got = f.cr(x);
  ++t.checked;
  if (!same(got, want)) {
    ++t.wrong;
    if (t.first.size() < opt.show) keep_first(t.first, {bits, got, want}, opt.show);
  }
  if (opt.compare_libm) {
    const float host = f.libm(x);
    if (!same(host, want)) {
      ++t.libm_wrong;
      if (t.libm_first.size() < opt.show) keep_first(t.libm_first, {bits, host, want}, opt.show);
    }
  }
}

// Runs body(bits, reference, tally) over count inputs, input j being input_at(j),
// on opt.threads threads taking blocks of inputs in turn.
template <typename InputAt, typename Body>
Tally run_parallel(std::uint64_t count, InputAt input_at, const Options& opt, Body body) {
  constexpr std::uint64_t kBlock = 1 << 16;
  std::atomic<std::uint64_t> next{0};
  std::mutex lock;
  Tally total;
  std::vector<std::thread> pool;
  for (unsigned w = 0; w < opt.threads; ++w) {
    pool.emplace_back([&] {
      Reference ref;
      Tally mine;
      for (;;) {
        const std::uint64_t begin = next.fetch_add(kBlock);
        if (begin >= count) break;
        const std::uint64_t end = std::min(count, begin + kBlock);
        for (std::uint64_t j = begin; j < end; ++j) body(input_at(j), ref, mine);
      }
      std::lock_guard<std::mutex> guard(lock);
      merge(total, mine, opt.show);
    });
  }
  for (std::thread& t : pool) t.join();
  return total;
}

void print_list(const char* who, const std::vector<Mismatch>& list) {
  for (const Mismatch& m : list) {
    std::printf("    %s 0x%08" PRIx32 " (%a): got 0x%08" PRIx32 " (%a), want 0x%08" PRIx32
                " (%a)\n",
                who, m.input, static_cast<double>(std::bit_cast<float>(m.input)),
                std::bit_cast<std::uint32_t>(m.got), static_cast<double>(m.got),
                std::bit_cast<std::uint32_t>(m.want), static_cast<double>(m.want));
  }
}

void report(const Function& f, const Tally& t, double seconds, const Options& opt) {
  std::printf("%-5s checked %" PRIu64 " inputs, %" PRIu64 " mismatches, %.1f s\n", f.name,
              t.checked, t.wrong, seconds);
  print_list("cr", t.first);
  if (opt.compare_libm) {
    std::printf("%-5s host library: %" PRIu64 " mismatches\n", f.name, t.libm_wrong);
    print_list("libm", t.libm_first);
  }
  std::fflush(stdout);
}

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::uint64_t check_range(const Function& f, const Options& opt) {
  const std::uint64_t span = opt.to - opt.from;
  // An odd-ish offset below the stride, so that a stride that is a power of two
  // does not check only patterns with zero low bits.
  const std::uint64_t offset = opt.stride > 1 ? 0x9e3779b9u % opt.stride : 0;
  const std::uint64_t count = span > offset ? (span - offset + opt.stride - 1) / opt.stride : 0;
  const auto start = std::chrono::steady_clock::now();
  const Tally t = run_parallel(
      count,
      [&](std::uint64_t j) { return static_cast<std::uint32_t>(opt.from + offset + j * opt.stride); },
      opt, [&](std::uint32_t bits, Reference& ref, Tally& mine) {
        check_one(f, bits, opt, ref, mine);
      });
  report(f, t, seconds_since(start), opt);
  return t.wrong;
}

struct ListedInput {
  std::string function;  // empty: every selected function
  std::uint32_t bits;
};

bool read_inputs(const std::string& path, std::vector<ListedInput>& out) {
  std::ifstream in(path);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return false;
  }
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    line = line.substr(0, line.find('#'));
    std::istringstream words(line);
    std::vector<std::string> w;
    for (std::string s; words >> s;) w.push_back(s);
    if (w.empty()) continue;
    if (w.size() > 2) {
      std::fprintf(stderr, "%s:%d: expected [function] hex-bits\n", path.c_str(), number);
      return false;
    }
    char* end = nullptr;
    const unsigned long v = std::strtoul(w.back().c_str(), &end, 16);
    if (*end != '\0' || v > 0xffffffffUL) {
      std::fprintf(stderr, "%s:%d: bad bit pattern '%s'\n", path.c_str(), number,
                   w.back().c_str());
      return false;
    }
    out.push_back({w.size() == 2 ? w[0] : std::string(), static_cast<std::uint32_t>(v)});
  }
  return true;
}

std::uint64_t check_list(const Function& f, const std::vector<ListedInput>& all,
                         const Options& opt) {
  std::vector<std::uint32_t> mine;
  for (const ListedInput& in : all) {
    if (in.function.empty() || in.function == f.name) mine.push_back(in.bits);
  }
  const auto start = std::chrono::steady_clock::now();
  const Tally t = run_parallel(
      mine.size(), [&](std::uint64_t j) { return mine[j]; }, opt,
      [&](std::uint32_t bits, Reference& ref, Tally& tally) {
        check_one(f, bits, opt, ref, tally);
      });
  report(f, t, seconds_since(start), opt);
  return t.wrong;
}

// Distance, in double ulps, of y from the nearest midpoint between two floats.
std::uint32_t tie_distance(double y) {
  const auto below = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(y)) & ((1u << 29) - 1);
  const std::int64_t d = static_cast<std::int64_t>(below) - (1 << 28);
  return static_cast<std::uint32_t>(d < 0 ? -d : d);
}

struct Near {
  std::uint32_t input;
  std::uint32_t distance;
  float want;
};

void list_corrections(const Function& f, const Options& opt) {
  const auto start = std::chrono::steady_clock::now();
  std::mutex lock;
  std::vector<Near> near;
  std::atomic<std::uint64_t> next{0};
  const std::uint64_t span = std::uint64_t{1} << 32;
  std::vector<std::thread> pool;
  for (unsigned w = 0; w < opt.threads; ++w) {
    pool.emplace_back([&] {
      Reference ref;
      std::vector<Near> mine;
      for (;;) {
        const std::uint64_t begin = next.fetch_add(1 << 20);
        if (begin >= span) break;
        for (std::uint64_t j = begin; j < begin + (1 << 20); j += opt.stride) {
          const auto bits = static_cast<std::uint32_t>(j);
          if (!f.in_estimate_domain(bits)) continue;
          const float x = std::bit_cast<float>(bits);
          const double y = f.estimate(x);
          if (!vtl::cr_math_internal::near_float_tie(y)) continue;
          mine.push_back({bits, tie_distance(y), ref(f.mpfr, x)});
        }
      }
      std::lock_guard<std::mutex> guard(lock);
      near.insert(near.end(), mine.begin(), mine.end());
    });
  }
  for (std::thread& t : pool) t.join();
  std::sort(near.begin(), near.end(),
            [](const Near& a, const Near& b) { return a.input < b.input; });
  std::printf("// %s: %zu inputs near a midpoint (%.1f s)\n", f.name, near.size(),
              seconds_since(start));
  for (const Near& n : near) {
    const float rounded = static_cast<float>(f.estimate(std::bit_cast<float>(n.input)));
    if (same(rounded, n.want)) continue;
    std::printf("    {0x%08" PRIx32 "u, 0x%08" PRIx32 "u},\n", n.input,
                std::bit_cast<std::uint32_t>(n.want));
  }
  if (opt.hard_list > 0) {
    std::stable_sort(near.begin(), near.end(),
                     [](const Near& a, const Near& b) { return a.distance < b.distance; });
    if (near.size() > opt.hard_list) near.resize(opt.hard_list);
    for (const Near& n : near) {
      std::printf("hard %s %08" PRIx32 "\n", f.name, n.input);
      if (f.odd) std::printf("hard %s %08" PRIx32 "\n", f.name, n.input | 0x80000000u);
    }
  }
  std::fflush(stdout);
}

// FNV-1a over the result bits of each block of 2^24 inputs, then over the block
// hashes in order, so that the threads can share the work.
void print_digest(const Function& f, const Options& opt) {
  const auto start = std::chrono::steady_clock::now();
  constexpr std::uint64_t kPrime = 0x100000001b3ull;
  constexpr std::uint64_t kBasis = 0xcbf29ce484222325ull;
  std::vector<std::uint64_t> blocks(256);
  std::atomic<std::uint32_t> next{0};
  std::vector<std::thread> pool;
  for (unsigned w = 0; w < opt.threads; ++w) {
    pool.emplace_back([&] {
      for (;;) {
        const std::uint32_t b = next.fetch_add(1);
        if (b >= 256) break;
        std::uint64_t h = kBasis;
        for (std::uint64_t j = 0; j < (1u << 24); j += opt.stride) {
          const float y = f.cr(std::bit_cast<float>((b << 24) | static_cast<std::uint32_t>(j)));
          h = (h ^ std::bit_cast<std::uint32_t>(y)) * kPrime;
        }
        blocks[b] = h;
      }
    });
  }
  for (std::thread& t : pool) t.join();
  std::uint64_t h = kBasis;
  for (const std::uint64_t b : blocks) h = (h ^ b) * kPrime;
  std::printf("%-5s digest %016" PRIx64 " (%.1f s)\n", f.name, h, seconds_since(start));
  std::fflush(stdout);
}

// Counts the x >= +0 (in [from, to)) with cr(-x) != -cr(x), bit for bit.
std::uint64_t check_odd(const Function& f, const Options& opt) {
  const auto start = std::chrono::steady_clock::now();
  const std::uint64_t end = std::min<std::uint64_t>(opt.to, 0x80000000u);
  const std::uint64_t count = end > opt.from ? end - opt.from : 0;
  const Tally t = run_parallel(
      count, [&](std::uint64_t j) { return static_cast<std::uint32_t>(opt.from + j); }, opt,
      [&](std::uint32_t bits, Reference&, Tally& mine) {
        const float y = f.cr(std::bit_cast<float>(bits));
        const float z = f.cr(std::bit_cast<float>(bits | 0x80000000u));
        ++mine.checked;
        if (std::isnan(y) && std::isnan(z)) return;
        if (std::bit_cast<std::uint32_t>(z) != (std::bit_cast<std::uint32_t>(y) ^ 0x80000000u)) {
          ++mine.wrong;
          keep_first(mine.first, {bits | 0x80000000u, z, -y}, opt.show);
        }
      });
  std::printf("%-5s odd symmetry: checked %" PRIu64 " pairs, %" PRIu64 " mismatches, %.1f s\n",
              f.name, t.checked, t.wrong, seconds_since(start));
  print_list("cr", t.first);
  std::fflush(stdout);
  return t.wrong;
}

bool parse(int argc, char** argv, Options& opt) {
  std::string which = "all";
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    const bool has_value = i + 1 < argc;
    if (a == "--function" && has_value) {
      which = argv[++i];
    } else if (a == "--stride" && has_value) {
      opt.stride = std::strtoull(argv[++i], nullptr, 10);
    } else if (a == "--threads" && has_value) {
      opt.threads = static_cast<unsigned>(std::strtoul(argv[++i], nullptr, 10));
    } else if (a == "--inputs" && has_value) {
      opt.inputs = argv[++i];
    } else if (a == "--show" && has_value) {
      opt.show = std::strtoull(argv[++i], nullptr, 10);
    } else if (a == "--hard-list" && has_value) {
      opt.hard_list = std::strtoull(argv[++i], nullptr, 10);
    } else if (a == "--compare-libm") {
      opt.compare_libm = true;
    } else if (a == "--from" && has_value) {
      opt.from = std::strtoull(argv[++i], nullptr, 16);
    } else if (a == "--to" && has_value) {
      opt.to = std::strtoull(argv[++i], nullptr, 16);
    } else if (a == "--odd") {
      opt.odd = true;
    } else if (a == "--digest") {
      opt.digest = true;
    } else if (a == "--corrections") {
      opt.corrections = true;
    } else {
      std::fprintf(stderr, "unknown or incomplete option '%s'\n", a.c_str());
      return false;
    }
  }
  for (const Function& f : kFunctions) {
    if (which == "all" || which == f.name) opt.functions.push_back(&f);
  }
  if (opt.functions.empty()) {
    std::fprintf(stderr, "--function must be acos, sin, log or all\n");
    return false;
  }
  if (opt.stride == 0 || opt.stride > (std::uint64_t{1} << 32)) {
    std::fprintf(stderr, "--stride must be between 1 and 2^32\n");
    return false;
  }
  if (opt.from >= opt.to || opt.to > (std::uint64_t{1} << 32)) {
    std::fprintf(stderr, "--from must be below --to, and --to at most 100000000\n");
    return false;
  }
  if (opt.threads == 0) opt.threads = std::max(1u, std::thread::hardware_concurrency());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options opt;
  if (!parse(argc, argv, opt)) return 2;
  if (opt.odd) {
    std::uint64_t wrong = 0;
    for (const Function* f : opt.functions) {
      if (f->odd) wrong += check_odd(*f, opt);
    }
    return wrong == 0 ? 0 : 1;
  }
  if (opt.digest) {
    for (const Function* f : opt.functions) print_digest(*f, opt);
    return 0;
  }
  if (opt.corrections) {
    for (const Function* f : opt.functions) list_corrections(*f, opt);
    return 0;
  }
  std::vector<ListedInput> listed;
  if (!opt.inputs.empty() && !read_inputs(opt.inputs, listed)) return 2;
  std::uint64_t wrong = 0;
  for (const Function* f : opt.functions) {
    wrong += opt.inputs.empty() ? check_range(*f, opt) : check_list(*f, listed, opt);
  }
  return wrong == 0 ? 0 : 1;
}
