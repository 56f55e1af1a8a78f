#include "engine/staging.h"

#include "base/constants.h"
#include "base/min_max.h"

namespace vtl {

float value_scratch = 0.0f;

// The device stages each value through the one-value scratch and the general
// copy routine rather than copying directly; the scratch is a global that the
// conditioning routines share, so after staging it must hold the third value,
// as on the device.
void stage_signal(const float* source, float* destination) {
  for (std::uint16_t i = 0; i < 3; ++i) {
    value_scratch = source[i];
    copy_value(&value_scratch, destination, i, 1, 0);
  }
}

// Only the first source value is ever copied and the mode is ignored: the
// device's routine was written for more and does this, and callers rely on it.
void copy_value(const float* source, float* destination, std::uint16_t index, std::uint16_t count,
                std::uint16_t /*mode*/) {
  if (count != 0) destination[index] = source[0];
}

void find_min(const float* values, std::uint32_t n, float* minimum, std::uint32_t* position) {
  *position = 0;
  if (n == 0) {
    *minimum = kQuietNaN;
    return;
  }
  *minimum = values[0];
  for (std::uint32_t k = 1; k < n; ++k) {
    // Strict: ties keep the first position; NaN never becomes the minimum.
    if (*minimum > values[k]) {
      *minimum = values[k];
      *position = k;
    }
  }
}

void reduce_max(const float* values, std::uint16_t n, float* destination, std::uint16_t index) {
  if (n == 0) return;
  if (n == 1) {
    destination[index] = values[0];
    return;
  }
  float minimum;
  std::uint32_t position;
  find_min(values, n, &minimum, &position);
  float x = minimum - 1.0f;
  // The bound k <= n - 0.5 tested in float equals k < n for every 16-bit n.
  for (std::uint32_t k = 0; k < n; ++k) {
    x = float_max(x, values[k]);
    destination[index] = x;
  }
}

}  // namespace vtl
