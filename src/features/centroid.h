#pragma once
// Euclidean distance of each row of a row-major matrix from a center: the
// column means of the matrix itself, or a center the caller gives.

#include <cstdint>

namespace vtl {

// data: rows x cols floats, row by row; dist: rows floats; center: cols floats,
// written with the column means when center_given is 0 (and rows > 0), read
// otherwise. With rows == 0 nothing is read or written; with cols == 0 every
// distance is 0 and center is not touched.
void centroid_distances(const float* data, float* dist, float* center, std::uint16_t rows,
                        std::uint8_t cols, std::uint8_t center_given);

}  // namespace vtl
