// The exhaustive proof against MPFR is tools/cr_math_check; these tests pin the
// special values and a few results that are easy to get wrong. Expected results
// marked MPFR were computed with mpfr_sin/mpfr_log/mpfr_acos at 24 bits,
// round-to-nearest, with emin = -148, emax = 128 and mpfr_subnormalize.
#include "base/cr_math.h"
#include "base/cr_math_internal.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>

namespace vtl {
namespace {

std::uint32_t bits(float x) { return std::bit_cast<std::uint32_t>(x); }
float from_bits(std::uint32_t b) { return std::bit_cast<float>(b); }
constexpr float kInf = std::numeric_limits<float>::infinity();

using Function = float (*)(float);

TEST(CrMath, NanComesBackQuietedWithSignAndPayload) {
  const std::uint32_t nans[] = {0x7fc00000u, 0xffc00000u, 0x7fc12345u, 0xffd00001u,
                                0x7f800001u, 0xff812345u, 0x7fbfffffu};
  for (const Function f : {&cr_acosf, &cr_sinf, &cr_logf}) {
    for (const std::uint32_t n : nans) {
      EXPECT_EQ(bits(f(from_bits(n))), n | 0x00400000u) << std::hex << "input 0x" << n;
    }
  }
}

TEST(CrMath, ArgumentsOutsideTheDomainGiveNaN) {
  for (const float x : {kInf, -kInf, 1.0000001f, -1.0000001f, 2.0f, -1e30f}) {
    EXPECT_TRUE(std::isnan(cr_acosf(x))) << x;
  }
  for (const float x : {kInf, -kInf}) EXPECT_TRUE(std::isnan(cr_sinf(x))) << x;
  for (const float x : {-kInf, -1.0f, -1e-30f, -from_bits(1)}) {
    EXPECT_TRUE(std::isnan(cr_logf(x))) << x;
  }
}

// Bit-exact results: special values, and inputs where a shortcut goes wrong.
struct Known {
  std::uint32_t input, result;
};
void expect_results(Function f, std::initializer_list<Known> cases) {
  for (const Known& c : cases) {
    EXPECT_EQ(bits(f(from_bits(c.input))), c.result) << std::hex << "input 0x" << c.input;
  }
}

TEST(CrMath, KnownResults) {
  // Tables of (input, result) pairs, three to a line.
  // clang-format off
  // +0, pi, pi/2 (from +-0 and a subnormal), +-(1 - 2^-24) from MPFR; then inputs the host
  // C library (glibc 2.36) rounds the wrong way, MPFR.
  expect_results(cr_acosf, {
      {0x3f800000u, 0x00000000u}, {0xbf800000u, 0x40490fdbu}, {0x00000000u, 0x3fc90fdbu},
      {0x80000000u, 0x3fc90fdbu}, {0x80000001u, 0x3fc90fdbu}, {0x3f7fffffu, 0x39b504f3u},
      {0xbf7fffffu, 0x40490a32u}, {0x3aac8885u, 0x3fc8e4b9u}, {0x3bd182c5u, 0x3fc83e57u},
      {0x3d0bd9efu, 0x3fc4b0d3u}, {0x3d11f47bu, 0x3fc47ff7u}});
  // -inf from +-0, inf, +0; from MPFR the smallest subnormal, the largest float, 1 +- ulp;
  // log 2; two inputs glibc gets wrong.
  expect_results(cr_logf, {
      {0x00000000u, 0xff800000u}, {0x80000000u, 0xff800000u}, {0x7f800000u, 0x7f800000u},
      {0x3f800000u, 0x00000000u}, {0x00000001u, 0xc2ce8ed0u}, {0x7f7fffffu, 0x42b17218u},
      {0x3f800001u, 0x33ffffffu}, {0x3f7fffffu, 0xb3800000u}, {0x40000000u, 0x3f317218u},
      {0x4003c305u, 0x3f38dc60u}, {0x73cb7832u, 0x42911a02u}});
  // All from MPFR. Large arguments need the exact reduction, an approximate pi/2 gets them
  // wrong: 2^24, 1e10, 1e38, the largest floats, two close to rounding boundaries.
  expect_results(cr_sinf, {
      {0x4b800000u, 0xbf47917cu}, {0x501502f9u, 0xbef99a64u}, {0x7e967699u, 0x3f7d39e2u},
      {0x7f7fffffu, 0xbf0599b3u}, {0xff7fffffu, 0x3f0599b3u}, {0x79d1f6d3u, 0xbf7a88eeu},
      {0x46199998u, 0xbeb1fa5du}});
  // The floats below 2^17 nearest to a multiple of pi (+-pi, 3 pi, 161 pi, 33433 pi): the
  // reduction cancels all but the last few bits. Then 9 pi times powers of two: below 2^8
  // the one-product reduction gets these wrong. Then four inputs glibc gets wrong.
  expect_results(cr_sinf, {
      {0x40490fdbu, 0xb3bbbd2eu}, {0xc0490fdbu, 0x33bbbd2eu}, {0x4116cbe4u, 0xb2ccde2eu},
      {0x43fce5f1u, 0xb20fd1deu}, {0x47cd246fu, 0xb30b5715u}, {0x41e231d6u, 0xb399a6a2u},
      {0x426231d6u, 0x3419a6a2u}, {0x42e231d6u, 0x3499a6a2u}, {0x436231d6u, 0x3519a6a2u},
      {0xc36231d6u, 0xb519a6a2u}, {0x3d6a7569u, 0x3d6a54a3u}, {0x3ddb6087u, 0x3ddaf530u},
      {0x3e663c78u, 0x3e644d1eu}, {0x3e70eaedu, 0x3e6eb385u}});
  // clang-format on
  // Tiny and subnormal arguments: sin x rounds to x, with its sign.
  for (const std::uint32_t b :
       {0x00000000u, 0x00000001u, 0x007fffffu, 0x00800000u, 0x3000abcdu, 0x397fffffu}) {
    EXPECT_EQ(bits(cr_sinf(from_bits(b))), b) << std::hex << b;
    EXPECT_EQ(bits(cr_sinf(from_bits(b | 0x80000000u))), b | 0x80000000u) << std::hex << b;
  }
}

// The fast evaluation must stay far inside the band around a midpoint that sends
// an input to the accurate one (about 2^-33.5 relative); a wrong table entry or
// coefficient in either shows as a larger gap between them.
TEST(CrMath, FastAndAccurateEvaluationsAgree) {
  using namespace cr_math_internal;
  struct Pair {
    double (*fast)(float);
    double (*accurate)(float);
    std::uint32_t begin, end;
  };
  const Pair pairs[] = {{acos_fast_estimate, acos_estimate, 0x00000000u, 0x3f800001u},
                        {acos_fast_estimate, acos_estimate, 0x80000000u, 0xbf800001u},
                        {sin_fast_estimate, sin_estimate, 0x39800000u, 0x7f800000u},
                        {sin_fast_estimate, sin_estimate, 0xb9800000u, 0xff800000u},
                        {log_fast_estimate, log_estimate, 0x00000001u, 0x7f800000u}};
  for (const Pair& p : pairs) {
    for (std::uint64_t b = p.begin; b < p.end; b += 0x2717u) {
      const float x = from_bits(static_cast<std::uint32_t>(b));
      const double accurate = p.accurate(x);
      if (accurate == 0.0) continue;  // log(1)
      EXPECT_LE(std::fabs(p.fast(x) - accurate), 0x1p-35 * std::fabs(accurate))
          << std::hex << "input 0x" << b;
    }
  }
}

// The double-precision host functions are within an ulp of the exact value, so
// the correctly rounded float is one of the two floats around their result.
bool within_host_bracket(float got, double host) {
  const auto lower = static_cast<float>(host);
  const double rest = host - static_cast<double>(lower);
  const float other = std::nextafter(lower, rest > 0 ? kInf : -kInf);
  return bits(got) == bits(lower) || (rest != 0 && bits(got) == bits(other));
}

// Next to every power of two log takes the accurate path through a mark in the
// table; near each k pi, sin takes it for the reduction: a leak of the mark, a
// wrong interval or a wrong sign shows here.
TEST(CrMath, WithinTheHostBracketWhereTheAccuratePathTakesOver) {
  for (const int e : {-126, -20, -1, 0, 1, 5, 127}) {
    const float p = std::ldexp(1.0f, e);
    float x = p * (1.0f - 0x1p-10f);
    for (int i = 0; i < 6000 && x < p * (1.0f + 0x1p-9f); ++i, x = std::nextafter(x, 2.0f * p)) {
      EXPECT_TRUE(within_host_bracket(cr_logf(x), std::log(static_cast<double>(x))))
          << std::hex << "log input 0x" << bits(x);
    }
  }
  for (int k = 1; k < 82; ++k) {
    const auto centre = static_cast<float>(k * 3.14159265358979323846);
    float x = std::nextafter(std::nextafter(centre, 0.0f), 0.0f);
    for (int i = 0; i < 5; ++i, x = std::nextafter(x, 1e9f)) {
      for (const float v : {x, -x}) {
        EXPECT_TRUE(within_host_bracket(cr_sinf(v), std::sin(static_cast<double>(v))))
            << std::hex << "sin input 0x" << bits(v);
      }
    }
  }
}

// A sweep over every range of sin (tiny, one-product reduction, two-part,
// 128-bit) and over the positive floats for log; sin is odd bit for bit.
TEST(CrMath, SinAndLogWithinTheHostBracketOnASweep) {
  for (std::uint32_t b = 0x39800000u; b < 0x7f800000u; b += 0x00012345u) {
    const float x = from_bits(b);
    EXPECT_TRUE(within_host_bracket(cr_sinf(x), std::sin(static_cast<double>(x))))
        << std::hex << "sin input 0x" << b;
    EXPECT_EQ(bits(cr_sinf(-x)), bits(cr_sinf(x)) ^ 0x80000000u) << std::hex << b;
    EXPECT_TRUE(within_host_bracket(cr_logf(x), std::log(static_cast<double>(x))))
        << std::hex << "log input 0x" << b;
  }
}

// A table or interval mix-up shows as a step the wrong way between neighbours.
TEST(CrMath, AcosAndLogAreMonotonicOnASweep) {
  float previous = cr_acosf(-1.0f);
  for (float x = -1.0f; x <= 1.0f; x += 0x1p-12f) {
    EXPECT_LE(cr_acosf(x), previous) << x;
    previous = cr_acosf(x);
  }
  previous = -kInf;
  for (std::uint32_t b = 1; b < 0x7f800000u; b += 0x0000f00du) {
    EXPECT_GE(cr_logf(from_bits(b)), previous) << std::hex << b;
    previous = cr_logf(from_bits(b));
  }
}

}  // namespace
}  // namespace vtl
