#pragma once
// Cheap bounds on the angle and on the angle times the Manhattan distance (the
// distance of the reset selectors), for callers that only need to know whether
// a distance can be the smallest or whether a score is already at its ceiling:
// they measure exactly only where the bounds leave the answer open.
//
// The bounds hold for the values measure_distance gives, rounding included:
// the angle of a cosine c in [-1, 1] is at least the chord 2 sin(angle / 2) =
// sqrt(2 (1 - c)), and at most the chord times 1 + chord^2 / 12 while the chord
// is at most 1. Each bound is computed in float with at most eight roundings of
// at most 2^-24 each and then moved 2^-20 outward, which is more than those
// roundings and the half unit of the correctly rounded acosf together; rounding
// to float is monotonic, so the product with a Manhattan distance m >= 0 keeps
// its side. tests/distance/distance_bounds_test.cpp checks both bounds against
// the angle of float cosines across the range and densely near -1, 0 and 1
// (they were also checked once against all 2^32 floats).

#include <cmath>
#include <cstdint>
#include <limits>

#include "base/simd.h"
#if VTL_SIMD_SSE2
#include <emmintrin.h>
#endif

#include "distance/cosine_ratio.h"
#include "distance/element_wise.h"
#include "distance/measure_detail.h"

namespace vtl {

inline constexpr float kBoundShrink = 1.0f - 0x1p-20f;
inline constexpr float kBoundGrow = 1.0f + 0x1p-20f;

// The cosine as the angle measure clamps it; a NaN stays NaN.
inline float clamped_cosine(float cosine) {
  if (cosine > 1.0f) return 1.0f;
  if (cosine < -1.0f) return -1.0f;
  return cosine;
}

// The chord of the angle measure's angle: sqrt(2 (1 - c)) of the clamped
// cosine, in float (NaN for NaN).
inline float chord_of(float cosine) { return std::sqrt((1.0f - clamped_cosine(cosine)) * 2.0f); }

// At most the angle measure gives for a cosine of this chord.
inline float angle_lower_bound_of_chord(float chord) { return chord * kBoundShrink; }

// At least the angle measure gives for a cosine of this chord, or +infinity
// when the chord is above 1 (an angle beyond 60 degrees), where the bound is
// not kept tight.
inline float angle_upper_bound_of_chord(float chord) {
  if (chord > 1.0f) return std::numeric_limits<float>::infinity();
  return (chord + chord * chord * chord * (1.0f / 12.0f)) * kBoundGrow;
}

// True when the two selectors give the angle times the Manhattan distance.
inline bool is_angle_manhattan(std::uint8_t measure_a, std::uint8_t measure_b) {
  return (measure_a == 1 && measure_b == 4) || (measure_a == 4 && measure_b == 1);
}

// The parts of the angle-Manhattan distance of x and y (3 values each, norms
// known) that cost no acosf: the cosine, exactly as the angle measure forms
// it, and the Manhattan distance, exactly as measured.
struct AngleManhattanParts {
  float cosine;
  float manhattan;
};

inline AngleManhattanParts angle_manhattan_parts(const float* x, const float* y, float x_norm,
                                                 float y_norm) {
  float work[3];
  return {detail::cosine_from_norms(x, y, 3, x_norm, y_norm),
          detail::element_wise_distance(DIST_MANHATTAN, x, y, work, 3)};
}

// The exact angle-Manhattan distance of these parts, as measure_distance
// gives it: the angle times the Manhattan distance when the angle's selector
// comes first, else the other way round.
inline float angle_manhattan_distance(AngleManhattanParts parts, bool angle_first) {
  const float angle = detail::angle_of_cosine(parts.cosine);
  return angle_first ? angle * parts.manhattan : parts.manhattan * angle;
}

// At most the angle-Manhattan distance of these parts; -infinity where the
// bound is undefined (a NaN cosine or Manhattan distance, an infinite Manhattan
// distance with a zero angle bound), so that callers measure those exactly.
inline float angle_manhattan_lower_bound(AngleManhattanParts parts) {
  const float bound = angle_lower_bound_of_chord(chord_of(parts.cosine)) * parts.manhattan;
  return std::isnan(bound) ? -std::numeric_limits<float>::infinity() : bound;
}

// At least the angle-Manhattan distance of these parts; +infinity where the
// bound is undefined (a NaN part, 0 x infinity) or not kept (angles beyond 60
// degrees), so that callers measure those exactly.
inline float angle_manhattan_upper_bound(AngleManhattanParts parts) {
  const float bound = angle_upper_bound_of_chord(chord_of(parts.cosine)) * parts.manhattan;
  return std::isnan(bound) ? std::numeric_limits<float>::infinity() : bound;
}

// angle_manhattan_lower_bound and angle_manhattan_upper_bound of x against
// four vectors at once: y[c][l] is coordinate c of vector l (y[c] points at
// four floats), y_norm[l] its norm; x's values come first in every product, as
// they would with x as the first vector (either order gives the same cosine
// and bounds as good). The lanes compute exactly what the scalar forms
// compute, one IEEE operation for another.
inline void angle_manhattan_bounds4(const float* x, float x_norm, const float* const* y,
                                    const float* y_norm, float* low, float* high) {
#if VTL_SIMD_SSE2
  const __m128 p0 = _mm_mul_ps(_mm_set1_ps(x[0]), _mm_loadu_ps(y[0]));
  const __m128 p1 = _mm_mul_ps(_mm_set1_ps(x[1]), _mm_loadu_ps(y[1]));
  const __m128 p2 = _mm_mul_ps(_mm_set1_ps(x[2]), _mm_loadu_ps(y[2]));
  const __m128 dot = _mm_add_ps(_mm_add_ps(_mm_add_ps(_mm_setzero_ps(), p0), p1), p2);
  const __m128 norms = _mm_mul_ps(_mm_set1_ps(x_norm), _mm_loadu_ps(y_norm));
  __m128 cosine = _mm_div_ps(dot, norms);
  // min_ps(a, b) is a < b ? a : b, max_ps(a, b) is a > b ? a : b: a NaN cosine passes.
  cosine = _mm_max_ps(_mm_set1_ps(-1.0f), _mm_min_ps(_mm_set1_ps(1.0f), cosine));
  const __m128 chord =
      _mm_sqrt_ps(_mm_mul_ps(_mm_sub_ps(_mm_set1_ps(1.0f), cosine), _mm_set1_ps(2.0f)));
  const __m128 sign = _mm_set1_ps(-0.0f);
  __m128 sum = _mm_setzero_ps();
  for (int c = 0; c < 3; ++c) {
    const __m128 difference = _mm_sub_ps(_mm_set1_ps(x[c]), _mm_loadu_ps(y[c]));
    const __m128 negative = _mm_cmplt_ps(difference, _mm_setzero_ps());
    const __m128 absolute = _mm_xor_ps(difference, _mm_and_ps(negative, sign));
    sum = c == 0 ? absolute : _mm_add_ps(sum, absolute);
  }
  const __m128 three = _mm_set1_ps(3.0f);
  const __m128 manhattan = _mm_mul_ps(three, _mm_div_ps(sum, three));
  const __m128 infinity = _mm_set1_ps(std::numeric_limits<float>::infinity());

  const __m128 lower = _mm_mul_ps(_mm_mul_ps(chord, _mm_set1_ps(kBoundShrink)), manhattan);
  const __m128 lower_undefined = _mm_cmpunord_ps(lower, lower);
  _mm_storeu_ps(low, _mm_or_ps(_mm_and_ps(lower_undefined,
                                          _mm_set1_ps(-std::numeric_limits<float>::infinity())),
                               _mm_andnot_ps(lower_undefined, lower)));

  // The series, and +infinity beyond 60 degrees (a NaN chord takes the series,
  // which is NaN, as in the scalar form).
  const __m128 cube = _mm_mul_ps(_mm_mul_ps(chord, chord), chord);
  const __m128 series = _mm_mul_ps(_mm_add_ps(chord, _mm_mul_ps(cube, _mm_set1_ps(1.0f / 12.0f))),
                                   _mm_set1_ps(kBoundGrow));
  const __m128 wide = _mm_cmpgt_ps(chord, _mm_set1_ps(1.0f));
  const __m128 angle = _mm_or_ps(_mm_and_ps(wide, infinity), _mm_andnot_ps(wide, series));
  const __m128 upper = _mm_mul_ps(angle, manhattan);
  const __m128 upper_undefined = _mm_cmpunord_ps(upper, upper);
  _mm_storeu_ps(high, _mm_or_ps(_mm_and_ps(upper_undefined, infinity),
                                _mm_andnot_ps(upper_undefined, upper)));
#else
  for (int l = 0; l < 4; ++l) {
    const float other[3] = {y[0][l], y[1][l], y[2][l]};
    const AngleManhattanParts parts = angle_manhattan_parts(x, other, x_norm, y_norm[l]);
    low[l] = angle_manhattan_lower_bound(parts);
    high[l] = angle_manhattan_upper_bound(parts);
  }
#endif
}

}  // namespace vtl
