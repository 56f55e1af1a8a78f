#pragma once
// Helpers shared by the unit tests: exact float comparison by bit pattern.

#include <bit>
#include <cstdint>
#include <limits>

namespace vtl::test {

inline std::uint32_t bits(float x) { return std::bit_cast<std::uint32_t>(x); }
inline float from_bits(std::uint32_t b) { return std::bit_cast<float>(b); }
inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
inline constexpr float kInf = std::numeric_limits<float>::infinity();

}  // namespace vtl::test

// Bit-for-bit equality of two floats (tells -0.0 from 0.0, NaN payloads apart).
#define EXPECT_FLOAT_BITS(expected, actual)                         \
  EXPECT_EQ(::vtl::test::bits(expected), ::vtl::test::bits(actual)) \
      << "expected " << (expected) << ", got " << (actual) << "; "
