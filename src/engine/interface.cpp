#include "engine/interface.h"

#include <cmath>

#include "base/min_max.h"
#include "engine/model.h"

namespace vtl {

std::uint32_t engine_status = 0;
std::uint8_t init_done = 0;
std::uint32_t learn_count = 0;
float sensitivity = 1.0f;

float min_of_two(float a, float b) { return float_min(a, b); }

std::int32_t engine_self_test() {
  const float result = min_of_two(1.1f, 2.1f);
  return result == 1.1f ? 0 : 1;  // a NaN result fails
}

std::uint32_t vtl_anomalydetection_init() {
  engine_reset();
  init_done = 1;
  engine_status = status_ok;
  if (engine_self_test() != 0) {
    engine_status = status_self_test_failed;
    learn_count = 0;
    return status_self_test_failed;
  }
  learn_count = 0;
  return engine_status;
}

std::uint32_t vtl_anomalydetection_set_sensitivity(float value) {
  sensitivity = value;  // stored unchecked: zero, negative and non-finite alike
  return engine_status;
}

float vtl_anomalydetection_get_sensitivity() { return sensitivity; }

}  // namespace vtl
