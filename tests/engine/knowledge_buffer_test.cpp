// The in-memory knowledge: import, its status, and the export that reverses it.

#include "engine/knowledge_buffer.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "engine/interface.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

using Knowledge = std::array<float, kKnowledgeValues>;

// A model learned by the engine itself, exported.
Knowledge learned_knowledge() {
  vtl_anomalydetection_init();
  for (int k = 0; k < 25; ++k) {
    const float signal[3] = {1.0f + 0.37f * static_cast<float>(k % 7),
                             2.0f * static_cast<float>(k % 5), 3.0f - 0.5f * static_cast<float>(k % 3)};
    vtl_anomalydetection_learn(signal);
  }
  Knowledge k{};
  export_knowledge_buffer(k.data());
  return k;
}

TEST(KnowledgeBuffer, ExportThenImportReproducesTheModel) {
  const Knowledge exported = learned_knowledge();
  const ClusterRecord slot4 = cluster_table[4];
  vtl_anomalydetection_init();
  engine_status = status_minimum_learning_done;
  EXPECT_EQ(vtl_anomalydetection_knowledge(exported.data()), status_minimum_learning_done);
  EXPECT_EQ(learn_count, 25u);
  EXPECT_EQ(cluster_table[4].count, slot4.count);
  EXPECT_FLOAT_BITS(slot4.radius, cluster_table[4].radius);
  EXPECT_FLOAT_BITS(slot4.center[2], cluster_table[4].center[2]);
  Knowledge again{};
  export_knowledge_buffer(again.data());
  EXPECT_EQ(std::memcmp(again.data(), exported.data(), sizeof again), 0);

  learn_count = 0xFFFFFFFFu;  // exported from below, never wrapped
  export_knowledge_buffer(again.data());
  import_knowledge_buffer(again.data());
  EXPECT_EQ(learn_count, 4294967040u);
}

TEST(KnowledgeBuffer, RejectionMarksTheEngineButReplacesTheModel) {
  Knowledge k = learned_knowledge();
  k[0] = 12.9f;
  k[3] = 123.0f;
  k[67] = 999999.0f;
  EXPECT_EQ(vtl_anomalydetection_knowledge(k.data()), status_knowledge_rejected);
  EXPECT_EQ(engine_status, status_knowledge_rejected);
  EXPECT_EQ(learn_count, 12u);
  EXPECT_EQ(cluster_table[0].center[0], 123.0f);
  const float signal[3] = {1.0f, 2.0f, 3.0f};
  std::uint8_t similarity = 0;  // detection refuses while the rejection is stored
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_knowledge_rejected);
  EXPECT_EQ(similarity, 255);

  k[67] = 1000000.0f;
  k[71] = test::kNaN;
  EXPECT_EQ(import_knowledge_buffer(k.data()), 1);
  k[71] = 1.0f;
  k[60] = -0.0f;  // matches 0
  EXPECT_EQ(import_knowledge_buffer(k.data()), 0);
}

TEST(KnowledgeBuffer, ConversionsTruncateAndNeverOverflow) {
  Knowledge k = learned_knowledge();
  const std::pair<int, float> values[] = {
      {0, test::kNaN},  // NaN: 0
      {1, test::kInf},  // saturates at 2^31 - 1: low 8 bits 255
      {2, -test::kInf}, // saturates at -2^31: low 8 bits 0
      {7, 1e10f},       // count: low 16 bits of 2^31 - 1
      {12, -1.5f},      // truncated to -1: 65535
      {53, 300.0f},     // a slot number beyond the table keeps its low 8 bits
      {56, 3.99f}};
  for (const auto& [position, value] : values) k[position] = value;
  EXPECT_EQ(import_knowledge_buffer(k.data()), 0);
  EXPECT_EQ(learn_count, 0u);
  EXPECT_EQ(measure_primary * 1000 + measure_secondary, 255000);
  EXPECT_EQ(cluster_table[0].count, 65535);
  EXPECT_EQ(cluster_table[1].count, 65535);
  EXPECT_EQ(spare_slot, 44);
  EXPECT_EQ(smallest_count, 3);
  k[0] = 1e19f;  // beyond 64 bits: the low 32 bits of 2^63 - 1
  import_knowledge_buffer(k.data());
  EXPECT_EQ(learn_count, 0xFFFFFFFFu);
  k[0] = 4294967296.0f * 3.0f + 1024.0f;  // exact in float: low 32 bits 1024
  import_knowledge_buffer(k.data());
  EXPECT_EQ(learn_count, 1024u);
}

}  // namespace
}  // namespace vtl
