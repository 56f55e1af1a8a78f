#include "base/exact_float.h"

#if defined(__SSE__) || defined(__x86_64__)
#include <xmmintrin.h>
#define VTL_HAS_MXCSR 1
#endif

namespace vtl {

namespace {
#ifdef VTL_HAS_MXCSR
constexpr unsigned kFlushToZero = 1u << 15;
constexpr unsigned kDenormalsAreZero = 1u << 6;
constexpr unsigned kRoundingControl = 3u << 13;
#endif
}  // namespace

void use_exact_float_environment() {
#ifdef VTL_HAS_MXCSR
  _mm_setcsr(_mm_getcsr() & ~(kFlushToZero | kDenormalsAreZero | kRoundingControl));
#endif
}

bool exact_float_environment() {
  // A subnormal that survives a multiplication by one, and a sum that rounds to even.
  volatile float tiny = 1e-40f;
  volatile float one = 1.0f;
  volatile float half_ulp = 0x1p-24f;
  const bool subnormals_kept = tiny * one != 0.0f;
  const bool round_to_nearest = one + half_ulp == one && one + 0x1.8p-23f == 1.0f + 0x1p-22f;
  return subnormals_kept && round_to_nearest;
}

}  // namespace vtl
