// The in-memory knowledge: import, its status, and the export that reverses it.

#include "engine/knowledge_buffer.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "engine/interface.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

using Knowledge = std::array<float, kKnowledgeValues>;

// A value at every position that no other position holds, laid out as documented:
// count, selectors, slot k at 3 + 5k (center x, y, z, radius, count), bookkeeping at 53.
Knowledge documented_knowledge() {
  Knowledge k{1234.0f, 5.0f, 6.0f};
  for (unsigned slot = 0; slot < kClusterSlots; ++slot) {
    for (unsigned field = 0; field < 5; ++field) {
      k[3 + 5 * slot + field] = static_cast<float>(100 * slot + field + 10);
    }
  }
  k[53] = 7.0f;    // spare slot
  k[54] = 8.0f;    // filled slots
  k[55] = 3.0f;    // slot of the smallest count
  k[56] = 321.0f;  // smallest count
  std::memcpy(&k[57], kKnowledgeSignature, sizeof kKnowledgeSignature);
  return k;
}

// Import then export: a position stored into the wrong field, or exported from the
// wrong one, shows at its position (the model is scribbled first, the buffer too).
TEST(KnowledgeBuffer, EveryPositionTravelsThroughItsOwnField) {
  for (ClusterRecord& slot : cluster_table) slot = {9, 9.0f, {9.0f, 9.0f, 9.0f}};
  spare_slot = filled_slots = smallest_count_slot = measure_primary = measure_secondary = 99;
  learn_count = smallest_count = 99;
  const Knowledge expected = documented_knowledge();
  EXPECT_EQ(0, import_knowledge_buffer(expected.data()));
  Knowledge exported;
  exported.fill(-1.0f);
  export_knowledge_buffer(exported.data());
  for (unsigned p = 0; p < kKnowledgeValues; ++p) {
    EXPECT_FLOAT_BITS(expected[p], exported[p]) << "position " << p;
  }
}

// A model learned by the engine itself, exported, imports with the stored
// status kept; a rejected one replaces the model all the same, and the stored
// rejection blocks detection.
TEST(KnowledgeBuffer, ImportKeepsOrMarksTheStoredStatus) {
  vtl_anomalydetection_init();
  for (int k = 0; k < 25; ++k) {
    const float signal[3] = {1.0f + 0.37f * static_cast<float>(k % 7),
                             2.0f * static_cast<float>(k % 5),
                             3.0f - 0.5f * static_cast<float>(k % 3)};
    vtl_anomalydetection_learn(signal);
  }
  Knowledge k{};
  export_knowledge_buffer(k.data());
  engine_status = status_minimum_learning_done;
  learn_count = 3;
  EXPECT_EQ(status_minimum_learning_done, vtl_anomalydetection_knowledge(k.data()));
  EXPECT_EQ(25u, learn_count);
  k[3] = 123.0f;
  k[67] = 999999.0f;
  EXPECT_EQ(vtl_anomalydetection_knowledge(k.data()), status_knowledge_rejected);
  EXPECT_EQ(engine_status, status_knowledge_rejected);
  EXPECT_FLOAT_BITS(123.0f, cluster_table[0].center[0]);
  std::uint8_t similarity = 0;
  EXPECT_EQ(vtl_anomalydetection_detect(k.data(), &similarity), status_knowledge_rejected);
  EXPECT_EQ(similarity, 255);
}

TEST(KnowledgeBuffer, ACountBeyondTheFloatsExportsAsTheFloatBelowIt) {
  learn_count = 0xFFFFFFFFu;  // the nearest float, 2^32, would wrap to 0
  Knowledge k{};
  export_knowledge_buffer(k.data());
  EXPECT_FLOAT_BITS(4294967040.0f, k[0]);
}

TEST(KnowledgeBuffer, SignatureValuesCompareAsFloats) {
  Knowledge k = documented_knowledge();
  k[71] = test::kNaN;  // NaN matches nothing, not even itself
  EXPECT_EQ(import_knowledge_buffer(k.data()), 1);
  k[71] = 1.0f;
  k[60] = -0.0f;  // matches 0
  EXPECT_EQ(import_knowledge_buffer(k.data()), 0);
  // Positions outside the signature never match.
  EXPECT_FALSE(knowledge_signature_matches(56, 0.0f));
  EXPECT_FALSE(knowledge_signature_matches(72, 0.0f));
  EXPECT_FALSE(knowledge_signature_matches(72, 1.0f));
}

// Truncation toward zero, NaN as 0 and saturation at both ends of the integer: values
// at and next to the limits, as the integers of each field's truncation.
struct Conversion {
  float value;
  std::int64_t to_int64;  // the learning count keeps its low 32 bits
  std::int32_t to_int32;  // selectors, slots and counts keep their low 8 or 16 bits
};

constexpr std::int64_t kMax64 = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int32_t kMax32 = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMin32 = std::numeric_limits<std::int32_t>::min();

const Conversion kConversions[] = {
    {test::kNaN, 0, 0},
    {test::kInf, kMax64, kMax32},
    {-test::kInf, kMin64, kMin32},
    {0x1p63f, kMax64, kMax32},
    {0x1.fffffep62f, 9223371487098961920, kMax32},
    {-0x1p63f, kMin64, kMin32},
    {-0x1.fffffep62f, -9223371487098961920, kMin32},
    {-0x1.000002p63f, kMin64, kMin32},
    {0x1p31f, 2147483648, kMax32},
    {0x1.fffffep30f, 2147483520, 2147483520},
    {-0x1p31f, -2147483648, kMin32},
    {-0x1.fffffep30f, -2147483520, -2147483520},
    {-0x1.000002p31f, -2147483904, kMin32},
    {1e10f, 10000000000, kMax32},
    {-1.5f, -1, -1},
    {3.99f, 3, 3},
};

// Each field keeps the low bits of its truncation.
TEST(KnowledgeConversion, TruncatesTowardZeroAndSaturatesAtTheLimits) {
  for (const Conversion& c : kConversions) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(c.to_int64, truncate_to_int64(c.value));
    EXPECT_EQ(c.to_int32, truncate_to_int32(c.value));
    Knowledge k = documented_knowledge();
    for (unsigned p : {0u, 1u, 2u, 7u, 53u, 54u, 55u, 56u}) k[p] = c.value;
    EXPECT_EQ(import_knowledge_buffer(k.data()), 0);
    const auto low8 = static_cast<std::uint8_t>(c.to_int32);
    const auto low16 = static_cast<std::uint16_t>(c.to_int32);
    EXPECT_EQ(learn_count, static_cast<std::uint32_t>(c.to_int64));
    for (unsigned v :
         {measure_primary, measure_secondary, spare_slot, filled_slots, smallest_count_slot}) {
      EXPECT_EQ(v, low8);
    }
    EXPECT_EQ(cluster_table[0].count, low16);
    EXPECT_EQ(smallest_count, low16);
  }
}

}  // namespace
}  // namespace vtl
