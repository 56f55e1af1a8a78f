#include "distance/measure.h"

#include "distance/measure_detail.h"

namespace vtl {

float measure_distance(std::uint8_t combine, std::uint8_t measure_a, std::uint8_t measure_b,
                       const float* x, const float* y, float* work, std::uint32_t n) {
  const float first = detail::one_measure(measure_a, x, y, work, n, nullptr);
  if (combine == 0) return first;
  const float second = detail::one_measure(measure_b, x, y, work, n, nullptr);
  return first * second;
}

}  // namespace vtl
