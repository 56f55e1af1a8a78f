#pragma once
// Constants shared by every layer, each defined once.

#include <cstdint>
#include <limits>

#include "base/exact_float.h"

namespace vtl {

// pi as the nearest single-precision value, 3.1415927.
inline constexpr float kPi = 3.1415927f;

inline constexpr float kQuietNaN = std::numeric_limits<float>::quiet_NaN();

// Length of the kernel that fir_filter designs and applies.
inline constexpr std::uint16_t kFirTaps = 65;

// True for 1, 2, 4, ... and for 0 (the transform's length test).
inline constexpr bool is_power_of_two_or_zero(std::uint32_t n) { return (n & (n - 1)) == 0; }

}  // namespace vtl
