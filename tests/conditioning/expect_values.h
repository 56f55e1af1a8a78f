#pragma once
// Bit-exact comparison of the leading values of an array with a list.

#include <initializer_list>

#include "test_util.h"

namespace vtl::test {

inline constexpr float kUntouched = -777.0f;  // marks places a routine must not write

inline void expect_values(std::initializer_list<float> expected, const float* actual) {
  int i = 0;
  for (float e : expected) {
    EXPECT_FLOAT_BITS(e, actual[i]) << " at index " << i;
    ++i;
  }
}

}  // namespace vtl::test
