#include "features/centroid.h"

#include <cmath>
#include <cstddef>

namespace vtl {

void centroid_distances(const float* data, float* dist, float* center, std::uint16_t rows,
                        std::uint8_t cols, std::uint8_t center_given) {
  // An empty matrix has no centroid: center keeps what the caller put there.
  if (rows == 0) return;
  if (center_given == 0) {
    for (std::size_t j = 0; j < cols; ++j) {
      float acc = data[j];
      for (std::size_t i = 1; i < rows; ++i) acc = acc + data[i * cols + j];
      center[j] = acc / static_cast<float>(rows);
    }
  }
  for (std::size_t i = 0; i < rows; ++i) dist[i] = 0.0f;
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t j = 0; j < cols; ++j) {
      const float d = data[i * cols + j] - center[j];
      dist[i] = dist[i] + d * d;
    }
  }
  for (std::size_t i = 0; i < rows; ++i) dist[i] = std::sqrt(dist[i]);
}

}  // namespace vtl
