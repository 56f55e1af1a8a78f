#pragma once
// The library's results are those of IEEE 754 single precision, evaluated in
// single precision, round to nearest, with subnormal numbers. Builds that would
// silently give other results are refused here, and the emulator turns off the
// processor's flush-to-zero modes that a library linked with -ffast-math
// (crtfastmath.o) switches on at start.

#include <cfloat>

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__)
#error \
    "Vantelo needs exact IEEE arithmetic: build it without -ffast-math, -Ofast or -ffinite-math-only."
#endif

#if !defined(FLT_EVAL_METHOD) || FLT_EVAL_METHOD != 0
#error \
    "Vantelo needs float arithmetic evaluated in single precision (FLT_EVAL_METHOD 0): build for SSE, not x87 (-mfpmath=387)."
#endif

namespace vtl {

// Clears flush-to-zero and denormals-are-zero and selects round to nearest in
// the processor's floating-point control register, where there is one.
void use_exact_float_environment();

// True when the floating-point environment gives IEEE results: round to
// nearest, subnormal numbers kept.
bool exact_float_environment();

}  // namespace vtl
