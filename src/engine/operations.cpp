// The two engine operations that take signals: learn and detect.

#include "engine/interface.h"
#include "engine/learning.h"
#include "engine/model.h"
#include "engine/scoring.h"
#include "engine/staging.h"

namespace vtl {

namespace {

constexpr std::uint32_t kMinimumLearnCount = 10;
constexpr std::uint8_t kNoSimilarity = 255;
constexpr double kSensitivityScale = 0.29;

bool detection_blocked(std::uint32_t status) {
  return status == status_knowledge_rejected || status == status_minimum_learning_pending ||
         status == status_detect_blocked;
}

}  // namespace

std::uint32_t vtl_anomalydetection_learn(const float* signal) {
  if (init_done != 1) {
    engine_status = status_not_initialized;
    return status_not_initialized;
  }
  stage_signal(signal, staged_signal);
  ++learn_count;
  learning_update(staged_signal);
  engine_status = learn_count >= kMinimumLearnCount ? status_minimum_learning_done
                                                    : status_minimum_learning_pending;
  return engine_status;
}

std::uint32_t vtl_anomalydetection_detect(const float* signal, std::uint8_t* similarity_out) {
  *similarity_out = kNoSimilarity;
  if (detection_blocked(engine_status)) return engine_status;
  if (learn_count < kMinimumLearnCount) {
    engine_status = status_minimum_learning_pending;
    return status_minimum_learning_pending;
  }
  stage_signal(signal, staged_signal);
  const float factor = static_cast<float>(static_cast<double>(sensitivity) * kSensitivityScale);
  const float score = score_similarity(staged_signal, factor);  // 0..100, never NaN
  *similarity_out = static_cast<std::uint8_t>(static_cast<std::int32_t>(score));
  return status_ok;
}

}  // namespace vtl
