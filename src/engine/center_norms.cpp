#include "engine/center_norms.h"

#include <bit>
#include <cstdint>

#include "distance/measure.h"
#include "engine/model.h"

namespace vtl {

namespace {

struct NormCache {
  bool known = false;
  std::uint32_t center_bits[kSignalLength] = {};
  float norm = 0.0f;
};

NormCache norms[kClusterSlots];

}  // namespace

float center_norm(unsigned slot) {
  NormCache& cache = norms[slot];
  const float* center = cluster_table[slot].center;
  bool same = cache.known;
  for (unsigned c = 0; c < kSignalLength; ++c) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(center[c]);
    same = same && cache.center_bits[c] == bits;
    cache.center_bits[c] = bits;
  }
  if (!same) cache.norm = angle_norm(center, kSignalLength);
  cache.known = true;
  return cache.norm;
}

}  // namespace vtl
