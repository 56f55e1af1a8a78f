// Each function first evaluates its result in double with a relative error
// below about 2^-35.5 (2^-34 being the tolerance) and rounds that to float,
// unless it lies within kFastTolerance double ulps of a midpoint between two
// floats (about one input in 500). Those take the accurate path, with an error
// below about 2^-46 and the much smaller kTieTolerance; the rare inputs still
// too close to a midpoint are looked up in a short table of corrected results
// (cr_math_corrections.inc), made and checked against MPFR for all 2^32 inputs
// by tools/cr_math_check. The few inputs where a fast path is known not to be
// accurate enough (sin near a multiple of pi below 2^8, log next to a power of
// two) are sent to the accurate path directly. The fast paths keep the number
// of floating-point operations low: without fused multiply-add, that is what
// their speed follows.
#include "base/cr_math.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "base/simd.h"
#if VTL_SIMD_SSE2
#include <emmintrin.h>
#endif

#include "base/cr_math_internal.h"

namespace vtl {
namespace {

// 128-bit integers, a compiler extension gcc and clang share; __extension__
// keeps -pedantic quiet about it.
__extension__ typedef unsigned __int128 u128;
__extension__ typedef __int128 i128;

// One interval of the log table.
struct LogInterval {
  double inv_c;  // 24 significant bits
  double log_c;
};

struct LogTables {
  LogInterval interval[1024];
  double exponent[278];  // k log 2, k = -149..128
  double scale[278];     // 2^-k
};

#include "base/cr_math_tables.inc"

struct Correction {
  std::uint32_t input;
  std::uint32_t result;
};

#include "base/cr_math_corrections.inc"

// Half the float ulp spans 2^28 double ulps. A fast result within
// kFastTolerance double ulps of a midpoint goes to the accurate path, an
// accurate one within kTieTolerance to the correction tables.
constexpr std::uint32_t kFastTolerance = 1u << 19;
constexpr std::uint32_t kTieTolerance = 1u << 10;
constexpr std::uint32_t kMidpointBits = 1u << 28;
constexpr std::uint32_t kBelowFloatMask = (1u << 29) - 1;

// The IEEE square root, correctly rounded. With SSE2 it is the instruction even
// without optimisation, where std::sqrt may become a call into libm.
inline double ieee_sqrt(double x) {
#if VTL_SIMD_SSE2
  return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_setzero_pd(), _mm_set_sd(x)));
#else
  return std::sqrt(x);
#endif
}

inline std::uint32_t float_bits(float x) { return std::bit_cast<std::uint32_t>(x); }
inline float bits_float(std::uint32_t b) { return std::bit_cast<float>(b); }

// The band is [midpoint - tolerance, midpoint + tolerance), tolerance a power of
// two, so that the test is a subtraction and a mask.
inline bool is_near_tie(double y, std::uint32_t tolerance) {
  const auto low = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(y));
  return ((low - (kMidpointBits - tolerance)) & (kBelowFloatMask & ~(2 * tolerance - 1))) == 0;
}

// Rounds y to float, taking the result from the table when y is near a tie and
// the input is listed there.
template <std::size_t N>
inline float round_checked(double y, std::uint32_t key, const Correction (&table)[N]) {
  if (!is_near_tie(y, kTieTolerance)) return static_cast<float>(y);
  const Correction* end = table + N;
  const Correction* it = std::lower_bound(
      table, end, key, [](const Correction& c, std::uint32_t k) { return c.input < k; });
  if (it != end && it->input == key) return bits_float(it->result);
  return static_cast<float>(y);
}

// ---- acos ------------------------------------------------------------------

constexpr double kPi = 0x1.921fb54442d18p+1;

// acos(x) = sqrt(1 - |x|) g(|x|) for x >= 0 and pi minus that for x < 0, where
// g is smooth on [0, 1]; 1 - |x| is exact, so there is no cancellation near 1.
// The sign picks the form from a table rather than by a branch, which random
// signs would mispredict.
constexpr double kAcosBase[2] = {0.0, kPi};
constexpr double kAcosSign[2] = {1.0, -1.0};

inline int acos_interval(double ax) {
  const int i = static_cast<int>(ax * 64.0);
  return i > 63 ? 63 : i;
}

inline double acos_combine(std::uint32_t ix, double ax, double g) {
  const double v = ieee_sqrt(1.0 - ax) * g;
  const std::uint32_t negative = ix >> 31;
  return kAcosBase[negative] + kAcosSign[negative] * v;
}

inline double acos_fast(float x) {
  const std::uint32_t ix = float_bits(x);
  const double ax = bits_float(ix & 0x7fffffffu);
  const double* c = kAcosFast[acos_interval(ax)];
  const double h = ax - c[0];
  const double h2 = h * h;
  const double g = (c[1] + h * c[2]) + h2 * ((c[3] + h * c[4]) + h2 * c[5]);
  return acos_combine(ix, ax, g);
}

inline double acos_accurate(float x) {
  const std::uint32_t ix = float_bits(x);
  const double ax = bits_float(ix & 0x7fffffffu);
  const double* c = kAcosPoly[acos_interval(ax)];
  const double h = ax - c[6];
  const double h2 = h * h;
  const double g = (c[0] + h * c[1]) + h2 * ((c[2] + h * c[3]) + h2 * (c[4] + h * c[5]));
  return acos_combine(ix, ax, g);
}

// ---- sin -------------------------------------------------------------------

// The argument is reduced to r = x - k pi/N with |r| <= pi/(2N) (a little more
// when k is rounded the other way), and sin(k pi/N + r) is expanded: the fast
// path has N = 512 and short series, the accurate path N = 128 and works on |x|.
constexpr double kOneTwentyEightOverPi = 0x1.45f306dc9c883p+5;
// pi/128 = kPiA + kPiB + kPiC: A and B have at most 30 significant bits, so
// k * A and k * B are exact for k < 2^23.
constexpr double kPiA = 0x1.921fb54000000p-6;
constexpr double kPiB = 0x1.10b4611800000p-36;
constexpr double kPiC = 0x1.313198a2e0370p-67;
constexpr double kPiOver128 = 0x1.921fb54442d18p-6;
constexpr double kFiveTwelveOverPi = 0x1.45f306dc9c883p+7;
// pi/512 = kFastPiA + kFastPiB, A with 27 significant bits: k * A is exact for
// k < 2^26, and the error of k * B stays below 2^-65.
constexpr double kFastPiA = 0x1.921fb54000000p-8;
constexpr double kFastPiB = 0x1.10b4611a62633p-38;
constexpr double kPiOver512 = 0x1.921fb54442d18p-8;
constexpr double kRoundShift = 0x1.8p52;
constexpr std::uint32_t kSmallSinLimit = 0x39800000;  // 2^-12
constexpr std::uint32_t kShortSinLimit = 0x43800000;  // 2^8
constexpr std::uint32_t kLargeSinLimit = 0x48000000;  // 2^17

struct Reduced {
  std::uint32_t k;  // multiple of pi/N
  double r;         // the rest, in radians (accurate path) or in units of pi/N (fast path)
};

// |x| < 2^17, N = 128: k < 2^23; |x| - k*A is exact, and the rest costs two
// roundings.
inline Reduced reduce_medium(double ax) {
  const double kd = (ax * kOneTwentyEightOverPi + kRoundShift) - kRoundShift;
  const double r = ((ax - kd * kPiA) - kd * kPiB) - kd * kPiC;
  return {static_cast<std::uint32_t>(static_cast<std::int64_t>(kd)), r};
}

// |x| >= 2^17, x = m 2^e with a 24-bit integer m: the fraction of x/(2 pi) is
// that of m times the 128 bits of 1/(2 pi) just after bit e, which leaves an
// error below m 2^-128 turns, i.e. below 2^-101 in r.
// kBits = log2(2N).
template <int kBits>
inline Reduced reduce_large(std::uint32_t ax) {
  const std::uint64_t m = (ax & 0x7fffffu) | 0x800000u;
  const std::uint64_t* w = kInvTwoPiWindows[ax >> 23];
  const u128 turns = static_cast<u128>(m) * w[1] + (static_cast<u128>(m * w[0]) << 64);
  constexpr int kShift = 128 - kBits;
  const u128 k = (turns + (static_cast<u128>(1) << (kShift - 1))) >> kShift;
  // The signed remainder, |rest| <= 2^(kShift-1) < 2^120: its high word converts
  // exactly, and so does its low word without the last 11 bits; the sum is
  // rounded once, and when rest is small the two words cancel exactly.
  const auto rest = static_cast<i128>(turns - (k << kShift));
  const auto rest_hi = static_cast<std::int64_t>(rest >> 64);
  const auto rest_lo = static_cast<std::int64_t>(static_cast<std::uint64_t>(rest) >> 11);
  const double units =
      static_cast<double>(rest_hi) * 0x1p64 + static_cast<double>(rest_lo) * 0x1p11;
  constexpr double kUnit = kBits == 8 ? 0x1p-120 * kPiOver128 : 0x1p-118 * kPiOver512;
  return {static_cast<std::uint32_t>(k), units * kUnit};
}

// The same for N = 512 in 64-bit words, with the rest in units of pi/512 and x
// signed: for x < 0 the window is negated, and so are the turns. They are
// hi 2^64 + lo; k = hi / 2^54 rounded, and the rest is the low 54 bits of hi,
// signed, and the top 10 bits of lo, in units of 2^-64: converted, it is off by
// less than 2^-64 + 2^-53 |r|. Near a multiple of pi, where sin x is about
// r pi/512, |r| >= 2^-20.8 for every float from 2^17 on, so that is at most
// 2^-43 relative.
inline Reduced reduce_large_fast(std::uint32_t ix) {
  const std::uint64_t m = (ix & 0x7fffffu) | 0x800000u;
  // The row ix >> 23 by its byte offset, which saves an instruction.
  static_assert(sizeof(kInvTwoPiWindows[0]) == 16);
  const auto* w = reinterpret_cast<const std::uint64_t*>(
      reinterpret_cast<const char*>(kInvTwoPiWindows) + ((ix >> 19) & ~15u));
  const u128 low_product = static_cast<u128>(m) * w[1];
  const std::uint64_t hi = m * w[0] + static_cast<std::uint64_t>(low_product >> 64);
  const auto lo = static_cast<std::uint64_t>(low_product);
  const auto k = static_cast<std::uint32_t>(((hi >> 53) + 1) >> 1);
  const auto rest = static_cast<std::int64_t>((hi << 10) | (lo >> 54));
  return {k, static_cast<double>(rest) * 0x1p-64};
}

// Taylor coefficients; with |r| <= 0.0125 the truncation is below 2^-50 of
// sin(r) and 2^-47 for cos(r).
constexpr double kS3 = -0x1.5555555555555p-3;
constexpr double kS5 = 0x1.1111111111111p-7;
constexpr double kC2 = -0x1p-1;
constexpr double kC4 = 0x1.5555555555555p-5;

// |x| < 2^17, N = 512, on x itself: k and r carry the sign, and k modulo 1024
// still indexes the table. r is then scaled to units of pi/512.
inline Reduced reduce_medium_fast(float x) {
  const double dx = x;
  const double t = dx * kFiveTwelveOverPi + kRoundShift;
  const double kd = t - kRoundShift;
  const double r = (dx - kd * kFastPiA) - kd * kFastPiB;
  return {static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(t)), r * kFiveTwelveOverPi};
}

// |x| < 2^8, N = 512, all in units of pi/512: with t = x 512/pi rounded, the
// rest is t - k, exact. t is off by at most 2^-37.3 from x 512/pi, i.e. 2^-44.6
// radians, 2^-36.2 of |sin x| unless k is a multiple of 512: away from the
// multiples of pi but 0, where the caller takes the accurate path instead.
inline Reduced reduce_short_fast(float x) {
  const double t = static_cast<double>(x) * kFiveTwelveOverPi;
  const double shifted = t + kRoundShift;
  const double kd = shifted - kRoundShift;
  return {static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(shifted)), t - kd};
}

// True where reduce_short_fast is not accurate enough: near a multiple of pi
// other than 0, i.e. k a multiple of 512 and |x| >= 1.
inline bool short_reduction_inexact(float x, std::uint32_t k) {
  return (k & 511) == 0 && std::fabs(x) >= 1.0f;
}

// sin(a + r pi/512), a = k pi/512, |r| <= 1/2 (a little more when k is rounded
// the other way), as the series to r^3 with the table's coefficients: the
// truncation leaves 2^-40 of the sine part and 2^-38 of the cosine part.
// Horner's scheme needs no register copies.
inline double sin_fast_eval(Reduced red) {
  const double r = red.r;
  const double* t = kSinCosFast[red.k & 1023];
  return t[0] + r * (t[1] + r * (t[2] + r * t[3]));
}

// sin(x) for 2^-12 <= |x| < 2^17.
inline double sin_fast_medium(float x) { return sin_fast_eval(reduce_medium_fast(x)); }

// sin(x) for 2^17 <= |x| < inf: sin(-y) = sin((-k) pi/512 - r pi/512).
inline double sin_fast_large(std::uint32_t ix) { return sin_fast_eval(reduce_large_fast(ix)); }

// The fast result that cr_sinf rounds, when it does not take the accurate path
// for the reduction.
inline double sin_fast(float x) {
  const std::uint32_t ix = float_bits(x);
  const std::uint32_t ax = ix & 0x7fffffffu;
  if (ax >= kLargeSinLimit) return sin_fast_large(ix);
  if (ax < kShortSinLimit) {
    const Reduced red = reduce_short_fast(x);
    if (!short_reduction_inexact(x, red.k)) return sin_fast_eval(red);
  }
  return sin_fast_medium(x);
}

// sin(|x|) for 2^-12 <= |x| < inf.
inline double sin_abs_accurate(std::uint32_t ax) {
  const Reduced red = ax < kLargeSinLimit ? reduce_medium(bits_float(ax)) : reduce_large<8>(ax);
  const double r = red.r;
  const double sa = kSinTable[red.k & 255];
  const double ca = kSinTable[(red.k + 64) & 255];
  const double r2 = r * r;
  const double sin_r = r + (r * r2) * (kS3 + r2 * kS5);
  const double cos_r_m1 = r2 * (kC2 + r2 * kC4);
  return sa + (sa * cos_r_m1 + ca * sin_r);
}

// ---- log -------------------------------------------------------------------

constexpr std::uint32_t kLogOffset = 0x3f330000;  // about 0.7
// In the two intervals next to 1, z in [1 - 2^-11, 1 + 2^-10), the series of
// log_fast is not accurate enough. Their log c in the table is this mark
// instead of 0: k log 2 + mark and then the whole sum round to the mark, whose
// last 29 bits are those of a float midpoint, so that the tie test sends these
// inputs to the accurate path without a test of their own. The accurate path
// reads the mark as 0.
constexpr double kLogNearOneMark = 0x1.0000010000000p+80;
constexpr std::uint32_t kFirstNearOneInterval = 615;

// x = 2^k z with z in [0.7, 1.4); the bits of z from kLogOffset on fall into
// 1024 intervals of 2^13 floats, and log x = k log 2 + log c + log(1 + r),
// r = z / c - 1, with c about the centre of the interval and 1/c of 24 bits:
// z = x 2^-k, z / c and r are exact, |r| <= 2^-11. The intervals next to 1 have
// c = 1: near 1, log x is the series alone, with no cancellation.
struct LogReduced {
  double base;  // k log 2 + log c
  double r;
};

// x positive and normal; k0 is added to its exponent. The interval is picked by
// its byte offset in the table and k by a shift of the widened bits, which saves
// the compiler index instructions. With accurate = false, base is the mark in
// the intervals next to 1.
template <bool accurate>
inline LogReduced log_reduce(float x, int k0) {
  const std::int64_t tmp = static_cast<std::int64_t>(float_bits(x)) - kLogOffset;
  static_assert(sizeof(LogInterval) == 16);
  const auto& t = *reinterpret_cast<const LogInterval*>(
      reinterpret_cast<const char*>(kLog.interval) + ((tmp >> 9) & (1023 << 4)));
  const std::int64_t k = tmp >> 23;
  const double z = static_cast<double>(x) * kLog.scale[k + 149];
  double log_c = t.log_c;
  if (accurate && log_c == kLogNearOneMark) log_c = 0.0;
  return {kLog.exponent[k + k0 + 149] + log_c, z * t.inv_c - 1.0};
}

// True in the intervals next to 1 (for any exponent), where log_fast gives the
// mark.
inline bool log_near_one(float x) {
  const std::uint32_t interval = ((float_bits(x) - kLogOffset) >> 13) & 1023;
  return interval - kFirstNearOneInterval < 2;
}

// The series to r^3 leaves r^4/4 <= 2^-46, at most 2^-36 of log x outside the
// intervals next to 1, where |log x| >= 2^-11 and |r| <= 2^-12 below 1, and
// |log x| >= 2^-10 above (for k = 0; more for others). base + r is summed
// apart, which shortens the chain of dependent operations.
inline double log_fast(float x, int k0) {
  const LogReduced red = log_reduce<false>(x, k0);
  const double r = red.r;
  return (red.base + r) + (r * r) * (-0x1p-1 + r * 0x1.5555555555555p-2);
}

inline double log_accurate(float x, int k0) {
  const LogReduced red = log_reduce<true>(x, k0);
  const double r = red.r;
  const double r2 = r * r;
  const double p =
      r + r2 * ((-0x1p-1 + r * 0x1.5555555555555p-2) + r2 * (-0x1p-2 + r * 0x1.999999999999ap-3));
  return red.base + p;
}

// The accurate paths, for the few inputs whose fast result is near a tie.
[[gnu::noinline, gnu::cold]] float acos_slow(float x) {
  return round_checked(acos_accurate(x), float_bits(x), kAcosCorrections);
}
[[gnu::noinline, gnu::cold]] float sin_slow(float x) {
  const std::uint32_t ix = float_bits(x);
  const std::uint32_t ax = ix & 0x7fffffffu;
  const float y = round_checked(sin_abs_accurate(ax), ax, kSinCorrections);
  return bits_float(float_bits(y) ^ (ix & 0x80000000u));
}

// Tiny, large (from 2^8 on) and non-finite arguments, the largest first.
[[gnu::noinline]] float sin_uncommon(float x) {
  const std::uint32_t ix = float_bits(x);
  const std::uint32_t ax = ix & 0x7fffffffu;
  double y;
  if (ax - kLargeSinLimit < 0x7f800000u - kLargeSinLimit) {
    y = sin_fast_large(ix);
  } else if (ax - kShortSinLimit < kLargeSinLimit - kShortSinLimit) {
    y = sin_fast_medium(x);
  } else if (ax < kSmallSinLimit) {
    // Below 2^-12, x^3/6 is less than a quarter ulp of x: sin x rounds to x.
    return x;
  } else if (ax > 0x7f800000u) {
    return x + x;  // NaN
  } else {
    return std::numeric_limits<float>::quiet_NaN();  // infinite
  }
  if (__builtin_expect(is_near_tie(y, kFastTolerance), 0)) return sin_slow(x);
  return static_cast<float>(y);
}

// key is the bit pattern of the input; x may be that input scaled by 2^-k0.
[[gnu::noinline, gnu::cold]] float log_slow(float x, int k0, std::uint32_t key) {
  return round_checked(log_accurate(x, k0), key, kLogCorrections);
}
[[gnu::noinline, gnu::cold]] float log_slow_normal(float x) {
  return log_slow(x, 0, float_bits(x));
}

// Subnormal inputs: scaled by 2^23 they are normal.
[[gnu::noinline]] float log_subnormal(float x) {
  const float scaled = x * 0x1p23f;
  const double y = log_fast(scaled, -23);
  return is_near_tie(y, kFastTolerance) ? log_slow(scaled, -23, float_bits(x))
                                        : static_cast<float>(y);
}

[[gnu::noinline, gnu::cold]] float log_special(float x) {
  const std::uint32_t ix = float_bits(x);
  if ((ix & 0x7fffffffu) > 0x7f800000u) return x + x;  // NaN
  if ((ix << 1) == 0) return -std::numeric_limits<float>::infinity();
  if (ix == 0x7f800000u) return x;
  if (ix < 0x00800000u) return log_subnormal(x);
  return std::numeric_limits<float>::quiet_NaN();
}

}  // namespace

float cr_acosf(float x) {
  const std::uint32_t ax = float_bits(x) & 0x7fffffffu;
  if (ax > 0x3f800000u) {
    if (ax > 0x7f800000u) return x + x;  // NaN
    return std::numeric_limits<float>::quiet_NaN();
  }
  const double y = acos_fast(x);
  return is_near_tie(y, kFastTolerance) ? acos_slow(x) : static_cast<float>(y);
}

float cr_sinf(float x) {
  const std::uint32_t ix = float_bits(x);
  // One test for 2^-12 <= |x| < 2^8: the sign bit is shifted out.
  constexpr std::uint32_t kShortBegin = kSmallSinLimit << 1;
  constexpr std::uint32_t kShortSpan = (kShortSinLimit - kSmallSinLimit) << 1;
  if (__builtin_expect((ix << 1) - kShortBegin >= kShortSpan, 0)) return sin_uncommon(x);
  const Reduced red = reduce_short_fast(x);
  // The test of k alone is rarely true: one branch in the common case.
  if (__builtin_expect((red.k & 511) == 0, 0)) {
    if (short_reduction_inexact(x, red.k)) return sin_slow(x);
  }
  const double y = sin_fast_eval(red);
  if (__builtin_expect(is_near_tie(y, kFastTolerance), 0)) return sin_slow(x);
  return static_cast<float>(y);
}

float cr_logf(float x) {
  const std::uint32_t ix = float_bits(x);
  // Not a positive normal float.
  if (__builtin_expect(ix - 0x00800000u >= 0x7f000000u, 0)) return log_special(x);
  const double y = log_fast(x, 0);
  if (__builtin_expect(is_near_tie(y, kFastTolerance), 0)) return log_slow_normal(x);
  return static_cast<float>(y);
}

namespace cr_math_internal {

double acos_estimate(float x) { return acos_accurate(x); }
double acos_fast_estimate(float x) { return acos_fast(x); }

double sin_estimate(float x) {
  const std::uint32_t ix = float_bits(x);
  const double y = sin_abs_accurate(ix & 0x7fffffffu);
  return (ix >> 31) != 0 ? -y : y;
}
double sin_fast_estimate(float x) { return sin_fast(x); }

double log_estimate(float x) {
  return float_bits(x) < 0x00800000u ? log_accurate(x * 0x1p23f, -23) : log_accurate(x, 0);
}
double log_fast_estimate(float x) {
  const bool subnormal = float_bits(x) < 0x00800000u;
  const float normal = subnormal ? x * 0x1p23f : x;
  const int k0 = subnormal ? -23 : 0;
  // Next to 1 the fast result is the mark, and the accurate one decides.
  return log_near_one(normal) ? log_accurate(normal, k0) : log_fast(normal, k0);
}

bool near_float_tie(double y) { return is_near_tie(y, kTieTolerance); }
bool near_float_tie_fast(double y) { return is_near_tie(y, kFastTolerance); }

}  // namespace cr_math_internal
}  // namespace vtl
