#pragma once
// Correctly rounded single-precision acos, sin and log: the result is the float
// nearest to the exact value (ties to even) for every float input, so it is the
// same bits on every host and compiler. Only IEEE basic operations are used, in
// round-to-nearest; no host maths library, no fused multiply-add.
//
// Special values are those of C: acos outside [-1, 1] is NaN, acos(1) = +0,
// sin(+-inf) is NaN, sin(+-0) = +-0, log(+-0) = -inf, log(x < 0) is NaN,
// log(+inf) = +inf, log(1) = +0. A NaN input comes back quieted with its sign
// and payload.

namespace vtl {

float cr_acosf(float x);
float cr_sinf(float x);
float cr_logf(float x);

}  // namespace vtl
