// The model's reset values, the pair index, initialisation and the status
// rules of the learn and detect operations.

#include "engine/model.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <tuple>

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
    EXPECT_EQ(1, slot.count);
    for (float v : {slot.radius, slot.center[0], slot.center[1], slot.center[2]}) {
      EXPECT_FLOAT_BITS(0.0f, v);
    }
  }
  for (float d : pair_distance) EXPECT_FLOAT_BITS(0.0f, d);
  EXPECT_EQ(65535, smallest_count);
  EXPECT_EQ(0, smallest_count_slot);
  EXPECT_EQ(0, filled_slots);
  EXPECT_EQ(9, spare_slot);
}

// Keeping the measures empties only the table; a full reset selects the angle
// times the Manhattan distance; init resets fully, keeping the sensitivity.
TEST(Model, ResetAndInitEmptyTheTable) {
  struct Way {
    const char* name;
    std::int64_t (*call)();
    std::int64_t result;
    int primary, secondary;
    unsigned learned;
  };
  const Way ways[] = {
      {"keep measures", [] { return std::int64_t{engine_reset_keep_measures()}; }, 1, 2, 3, 33},
      {"full reset", [] { return engine_reset(), std::int64_t{1}; }, 1, 4, 1, 33},
      {"init", [] { return std::int64_t{vtl_anomalydetection_init()}; }, status_ok, 4, 1, 0}};
  for (const Way& way : ways) {
    SCOPED_TRACE(way.name);
    scribble_model();
    learn_count = 33;
    engine_status = status_minimum_learning_pending;
    sensitivity = 2.5f;
    EXPECT_EQ(way.result, way.call());
    expect_reset_table();
    EXPECT_EQ(way.primary, measure_primary);
    EXPECT_EQ(way.secondary, measure_secondary);
    EXPECT_EQ(way.learned, learn_count);
  }
  EXPECT_EQ(1, init_done);
  EXPECT_FLOAT_BITS(2.5f, sensitivity);
  sensitivity = 1.0f;
}

TEST(Model, PairIndexNumbersEachUnorderedPairOnce) {
  for (const auto& [a, b, index] : {std::tuple{1, 0, 0u},
                                    {9, 8, 44u},
                                    {3, 5, 13u},
                                    {5, 3, 13u},
                                    {4, 4, 0u},
                                    {255, 254, 32639u}}) {  // no overflow at 8 bits
    EXPECT_EQ(index, pair_index(static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b)))
        << a << ", " << b;
  }
}

const float kSignal[3] = {1.0f, 2.0f, 3.0f};

// Learning needs an init flag of 1; detection waits for ten learned signals,
// and a stored refusal blocks it whatever the count.
TEST(EngineInterface, StatusRulesOfLearnAndDetect) {
  for (std::uint8_t flag : {0, 2}) {
    init_done = flag;
    learn_count = 5;
    EXPECT_EQ(status_not_initialized, vtl_anomalydetection_learn(kSignal)) << "flag " << int(flag);
    EXPECT_EQ(status_not_initialized, engine_status);
    EXPECT_EQ(5u, learn_count);
  }
  vtl_anomalydetection_init();
  for (int k = 1; k <= 9; ++k) {
    EXPECT_EQ(status_minimum_learning_pending, vtl_anomalydetection_learn(kSignal)) << k;
  }
  std::uint8_t similarity = 7;
  engine_status = status_ok;
  EXPECT_EQ(status_minimum_learning_pending, vtl_anomalydetection_detect(kSignal, &similarity));
  EXPECT_EQ(255, similarity);
  EXPECT_EQ(status_minimum_learning_pending, engine_status);                     // stored
  EXPECT_EQ(status_minimum_learning_done, vtl_anomalydetection_learn(kSignal));  // the tenth
  similarity = 255;
  EXPECT_EQ(status_ok, vtl_anomalydetection_detect(kSignal, &similarity));
  EXPECT_LE(similarity, 100);
  EXPECT_EQ(status_minimum_learning_done, engine_status);  // not changed by detection
  learn_count = 50;
  for (std::uint32_t status : {status_minimum_learning_pending, status_detect_blocked}) {
    engine_status = status;
    EXPECT_EQ(status, vtl_anomalydetection_detect(kSignal, &similarity));
    EXPECT_EQ(255, similarity);
  }
  engine_status = status_self_test_failed;  // blocks nothing; nor does init_done
  init_done = 0;
  EXPECT_EQ(status_ok, vtl_anomalydetection_detect(kSignal, &similarity));
  init_done = 1;
}

// The sensitivity is stored as given, bit for bit, and the operation answers
// with whatever status is stored, which it leaves as it is.
TEST(EngineInterface, SensitivityIsStoredUncheckedAndReturnsTheStoredStatus) {
  const float values[] = {2.5f,
                          0.0f,
                          -0.0f,
                          -3.0f,
                          std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(),
                          std::bit_cast<float>(0xFFC00123u),  // a negative NaN with a payload
                          std::numeric_limits<float>::denorm_min()};
  const std::uint32_t statuses[] = {status_ok, status_knowledge_rejected,
                                    status_minimum_learning_done, status_self_test_failed};
  for (std::uint32_t status : statuses) {
    for (float value : values) {
      engine_status = status;
      EXPECT_EQ(status, vtl_anomalydetection_set_sensitivity(value));
      EXPECT_EQ(status, engine_status);
      EXPECT_FLOAT_BITS(value, sensitivity);
      EXPECT_FLOAT_BITS(value, vtl_anomalydetection_get_sensitivity());
    }
  }
  engine_status = status_ok;
  sensitivity = 1.0f;
}

}  // namespace
}  // namespace vtl
