// The learn and detect operations: status rules and the similarity byte.

#include <gtest/gtest.h>

#include "engine/interface.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

void learn_signals(int count) {
  for (int k = 0; k < count; ++k) {
    const float signal[3] = {1.0f + static_cast<float>(k), 2.0f, 3.0f};
    vtl_anomalydetection_learn(signal);
  }
}

TEST(Operations, LearnStatusRules) {
  init_done = 0;
  learn_count = 5;
  const float signal[3] = {1.0f, 2.0f, 3.0f};
  EXPECT_EQ(vtl_anomalydetection_learn(signal), status_not_initialized);
  EXPECT_EQ(learn_count, 5u);
  EXPECT_EQ(engine_status, status_not_initialized);

  vtl_anomalydetection_init();
  for (int k = 1; k <= 12; ++k) {
    const float s[3] = {static_cast<float>(k), 1.0f, 0.5f};
    EXPECT_EQ(vtl_anomalydetection_learn(s),
              k < 10 ? status_minimum_learning_pending : status_minimum_learning_done)
        << "signal " << k;
  }
  EXPECT_EQ(learn_count, 12u);
}

TEST(Operations, DetectStatusRules) {
  vtl_anomalydetection_init();
  learn_signals(9);
  const float signal[3] = {1.0f, 2.0f, 3.0f};
  std::uint8_t similarity = 7;
  engine_status = status_ok;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_minimum_learning_pending);
  EXPECT_EQ(similarity, 255);
  EXPECT_EQ(engine_status, status_minimum_learning_pending);
  // The stored status now blocks detection by itself.
  learn_count = 50;
  similarity = 7;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_minimum_learning_pending);
  EXPECT_EQ(similarity, 255);

  engine_status = status_detect_blocked;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_detect_blocked);

  // After a learn that stored 127 detection scores and leaves the status alone.
  learn_signals(1);
  EXPECT_EQ(engine_status, status_minimum_learning_done);
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_ok);
  EXPECT_LE(similarity, 100);
  EXPECT_EQ(engine_status, status_minimum_learning_done);

  // A failed self-test blocks nothing; detection ignores init_done.
  engine_status = status_self_test_failed;
  init_done = 0;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_ok);
  init_done = 1;
}

TEST(Operations, SimilarityByteTruncatesTheScore) {
  vtl_anomalydetection_init();
  learn_signals(10);
  // One merged cluster at a known place, measured by Chebyshev x absolute
  // correlation (1 for a constant center): the distance is the largest difference.
  engine_reset();
  measure_primary = 0;
  measure_secondary = 3;
  sensitivity = 1.0f;
  const float radius = 89.99f * 0.29f / 90.0f;  // a vote just below 90 at distance 1
  cluster_table[0] = {2, radius, {0.0f, 0.0f, 0.0f}};
  const float signal[3] = {1.0f, 0.0f, 0.0f};
  std::uint8_t similarity = 0;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_ok);
  EXPECT_EQ(similarity, 89);
  sensitivity = 0.0f;  // every cluster with a positive ratio reaches 100
  vtl_anomalydetection_detect(signal, &similarity);
  EXPECT_EQ(similarity, 100);
  sensitivity = 1.0f;
}

}  // namespace
}  // namespace vtl
