#pragma once
// The double-precision evaluations behind cr_math.h, before rounding to float.
// Exposed for the exhaustive checker, which lists the inputs whose double result
// lies too close to a float rounding boundary to be rounded directly.

#include <cstdint>

namespace vtl::cr_math_internal {

// The accurate evaluations, with a relative error far below 2^-43 in the stated
// domain, and the fast ones (far below 2^-33) that come first.
double acos_estimate(float x);  // -1 <= x <= 1
double sin_estimate(float x);   // finite x with |x| >= 2^-12
double log_estimate(float x);   // finite x > 0
double acos_fast_estimate(float x);
double sin_fast_estimate(float x);
double log_fast_estimate(float x);

// True when an accurate y is too close to the midpoint of two floats for
// (float)y to be trusted; such inputs are looked up in the tables of corrected
// results.
bool near_float_tie(double y);
// True when a fast y is too close to a midpoint: the accurate path decides.
bool near_float_tie_fast(double y);

}  // namespace vtl::cr_math_internal
