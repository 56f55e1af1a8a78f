#pragma once
// In-place inversion of a square single-precision matrix.

#include <cstdint>

namespace vtl {

// Replaces the row-major n x n matrix a by its inverse, by Gauss-Jordan
// elimination with the pivot searched along the current row (the largest
// magnitude from the diagonal on; ties go to the later column, NaN never
// qualifies). pivot[k] receives the column chosen at step k. Returns 1 when
// the inverse was computed (and for n == 0, touching nothing), 0 when a zero
// pivot was met; a is then left part-way through elimination. NaN entries are
// not detected and spread through a result still reported as 1.
std::int32_t matrix_invert(float* a, std::uint16_t* pivot, std::uint16_t n);

}  // namespace vtl
