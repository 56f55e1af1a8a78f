// The model's reset values, the pair index, initialisation and the status
// rules of the learn and detect operations.

#include "engine/model.h"

#include <gtest/gtest.h>

#include "engine/interface.h"
#include "test_util.h"

namespace vtl {
namespace {

void scribble_model() {
  for (ClusterRecord& slot : cluster_table) slot = {77, 3.0f, {1.0f, 2.0f, 3.0f}};
  for (float& d : pair_distance) d = 9.0f;
  smallest_count = smallest_count_slot = filled_slots = spare_slot = 5;
  measure_primary = 2;
  measure_secondary = 3;
}

void expect_reset_table() {
  for (const ClusterRecord& slot : cluster_table) {
    EXPECT_EQ(slot.count, 1);
    for (float v : {slot.radius, slot.center[0], slot.center[1], slot.center[2]}) {
      EXPECT_FLOAT_BITS(0.0f, v);
    }
  }
  for (float d : pair_distance) EXPECT_FLOAT_BITS(0.0f, d);
  EXPECT_EQ(smallest_count, 65535);
  EXPECT_EQ(smallest_count_slot + filled_slots, 0);
  EXPECT_EQ(spare_slot, 9);
}

TEST(Model, ResetsAndPairIndex) {
  scribble_model();
  EXPECT_EQ(engine_reset_keep_measures(), 1);
  expect_reset_table();
  EXPECT_EQ(measure_primary * 10 + measure_secondary, 23);
  engine_reset();
  EXPECT_EQ(measure_primary * 10 + measure_secondary, 41);

  EXPECT_EQ(pair_index(1, 0), 0u);
  EXPECT_EQ(pair_index(9, 8), 44u);
  EXPECT_EQ(pair_index(3, 5), 13u);
  EXPECT_EQ(pair_index(5, 3), 13u);
  EXPECT_EQ(pair_index(4, 4), 0u);
  EXPECT_EQ(pair_index(255, 254), 255u * 254u / 2u + 254u);  // no overflow for 8-bit slots
}

TEST(EngineInterface, InitAndSensitivity) {
  scribble_model();
  learn_count = 33;
  engine_status = status_minimum_learning_pending;
  sensitivity = 2.5f;
  EXPECT_EQ(vtl_anomalydetection_init(), status_ok);
  expect_reset_table();
  EXPECT_EQ(init_done, 1);
  EXPECT_EQ(learn_count, 0u);
  EXPECT_EQ(sensitivity, 2.5f);  // init keeps it
  EXPECT_EQ(min_of_two(test::kNaN, 2.1f), 2.1f);
  for (float value : {0.0f, -3.0f, test::kInf, test::kNaN}) {  // stored unchecked
    EXPECT_EQ(vtl_anomalydetection_set_sensitivity(value), status_ok);
    EXPECT_FLOAT_BITS(value, vtl_anomalydetection_get_sensitivity());
  }
  sensitivity = 1.0f;
}

TEST(EngineInterface, LearnAndDetectStatusRules) {
  const float signal[3] = {1.0f, 2.0f, 3.0f};
  init_done = 0;
  learn_count = 5;
  EXPECT_EQ(vtl_anomalydetection_learn(signal), status_not_initialized);
  EXPECT_EQ(learn_count, 5u);

  vtl_anomalydetection_init();
  for (int k = 1; k <= 9; ++k) {
    EXPECT_EQ(vtl_anomalydetection_learn(signal), status_minimum_learning_pending) << k;
  }
  std::uint8_t similarity = 7;
  engine_status = status_ok;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_minimum_learning_pending);
  EXPECT_EQ(similarity, 255);
  learn_count = 50;  // the stored 126 now blocks detection by itself
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_minimum_learning_pending);
  engine_status = status_detect_blocked;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_detect_blocked);

  learn_count = 9;
  EXPECT_EQ(vtl_anomalydetection_learn(signal), status_minimum_learning_done);  // the tenth
  similarity = 255;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_ok);
  EXPECT_LE(similarity, 100);
  EXPECT_EQ(engine_status, status_minimum_learning_done);  // not changed by detection
  engine_status = status_self_test_failed;  // blocks nothing; nor does init_done
  init_done = 0;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_ok);
  init_done = 1;
}

}  // namespace
}  // namespace vtl
