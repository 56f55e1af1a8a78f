// The model's reset values, the reset that keeps the selectors, the pair index
// and initialisation with its self-test and sensitivity operations.

#include "engine/model.h"

#include <gtest/gtest.h>


#include "engine/interface.h"
#include "test_util.h"

namespace vtl {
namespace {

void scribble_model() {
  for (ClusterRecord& slot : cluster_table) slot = {77, 3.0f, {1.0f, 2.0f, 3.0f}};
  for (float& d : pair_distance) d = 9.0f;
  smallest_count = 5;
  smallest_count_slot = 3;
  filled_slots = 9;
  spare_slot = 2;
  measure_primary = 2;
  measure_secondary = 3;
}

void expect_reset_table() {
  for (const ClusterRecord& slot : cluster_table) {
    EXPECT_EQ(slot.count, 1);
    EXPECT_FLOAT_BITS(0.0f, slot.radius);
    for (float c : slot.center) EXPECT_FLOAT_BITS(0.0f, c);
  }
  for (float d : pair_distance) EXPECT_FLOAT_BITS(0.0f, d);  // index 44 included
  EXPECT_EQ(smallest_count, 65535);
  EXPECT_EQ(smallest_count_slot, 0);
  EXPECT_EQ(filled_slots, 0);
  EXPECT_EQ(spare_slot, 9);
}

TEST(Model, ResetsWithAndWithoutTheSelectors) {
  scribble_model();
  engine_reset();
  expect_reset_table();
  EXPECT_EQ(measure_primary, 4);
  EXPECT_EQ(measure_secondary, 1);

  scribble_model();
  EXPECT_EQ(engine_reset_keep_measures(), 1);
  expect_reset_table();
  EXPECT_EQ(measure_primary, 2);
  EXPECT_EQ(measure_secondary, 3);
}

TEST(Model, PairIndexIsSymmetricAndCoversTheTriangle) {
  EXPECT_EQ(pair_index(1, 0), 0u);
  EXPECT_EQ(pair_index(9, 8), 44u);
  EXPECT_EQ(pair_index(3, 5), 13u);
  EXPECT_EQ(pair_index(5, 3), 13u);
  EXPECT_EQ(pair_index(4, 4), 0u);
  bool seen[45] = {};
  for (std::uint8_t i = 0; i < 10; ++i) {
    for (std::uint8_t j = i + 1; j < 10; ++j) {
      const std::uint32_t index = pair_index(i, j);
      ASSERT_LT(index, 45u);
      EXPECT_FALSE(seen[index]);
      seen[index] = true;
    }
  }
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

  // Stored unchecked; the status returned is whatever is stored.
  for (float value : {0.0f, -3.0f, test::kInf, test::kNaN}) {
    EXPECT_EQ(vtl_anomalydetection_set_sensitivity(value), status_ok);
    EXPECT_FLOAT_BITS(value, vtl_anomalydetection_get_sensitivity());
  }
  sensitivity = 1.0f;
}

}  // namespace
}  // namespace vtl
