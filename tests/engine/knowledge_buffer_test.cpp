// The in-memory knowledge: import, its status, and the export that reverses it.

#include "engine/knowledge_buffer.h"

#include <gtest/gtest.h>

#include <array>

#include "engine/interface.h"
#include "engine/learning.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

using Knowledge = std::array<float, kKnowledgeValues>;

// A model with every field distinct, learned by the engine itself.
void learn_some_model() {
  vtl_anomalydetection_init();
  for (int k = 0; k < 25; ++k) {
    const float signal[3] = {1.0f + 0.37f * static_cast<float>(k % 7), 2.0f * static_cast<float>(k % 5),
                             3.0f - 0.5f * static_cast<float>(k % 3)};
    vtl_anomalydetection_learn(signal);
  }
}

TEST(KnowledgeBuffer, ExportThenImportReproducesTheModel) {
  learn_some_model();
  measure_primary = 4;
  measure_secondary = 1;
  Knowledge exported{};
  export_knowledge_buffer(exported.data());
  const ClusterRecord saved_table[10] = {cluster_table[0], cluster_table[1], cluster_table[2],
                                         cluster_table[3], cluster_table[4], cluster_table[5],
                                         cluster_table[6], cluster_table[7], cluster_table[8],
                                         cluster_table[9]};
  const std::uint8_t saved_bookkeeping[3] = {spare_slot, filled_slots, smallest_count_slot};
  const std::uint16_t saved_smallest = smallest_count;

  vtl_anomalydetection_init();
  measure_primary = 9;
  engine_status = status_minimum_learning_done;
  EXPECT_EQ(vtl_anomalydetection_knowledge(exported.data()), status_minimum_learning_done);
  EXPECT_EQ(learn_count, 25u);
  EXPECT_EQ(measure_primary, 4);
  for (unsigned k = 0; k < 10; ++k) {
    EXPECT_EQ(cluster_table[k].count, saved_table[k].count);
    EXPECT_FLOAT_BITS(saved_table[k].radius, cluster_table[k].radius);
    for (unsigned c = 0; c < 3; ++c) {
      EXPECT_FLOAT_BITS(saved_table[k].center[c], cluster_table[k].center[c]);
    }
  }
  EXPECT_EQ(spare_slot, saved_bookkeeping[0]);
  EXPECT_EQ(filled_slots, saved_bookkeeping[1]);
  EXPECT_EQ(smallest_count_slot, saved_bookkeeping[2]);
  EXPECT_EQ(smallest_count, saved_smallest);

  // Counts beyond the float's integers are exported from below, never wrapped.
  learn_count = 0xFFFFFFFFu;
  export_knowledge_buffer(exported.data());
  import_knowledge_buffer(exported.data());
  EXPECT_EQ(learn_count, 4294967040u);
}

TEST(KnowledgeBuffer, RejectionMarksTheEngineButReplacesTheModel) {
  learn_some_model();
  Knowledge knowledge{};
  export_knowledge_buffer(knowledge.data());
  knowledge[0] = 12.9f;
  knowledge[3] = 123.0f;
  knowledge[67] = 999999.0f;
  vtl_anomalydetection_init();
  std::uint8_t init_before = init_done;
  EXPECT_EQ(vtl_anomalydetection_knowledge(knowledge.data()), status_knowledge_rejected);
  EXPECT_EQ(engine_status, status_knowledge_rejected);
  EXPECT_EQ(learn_count, 12u);
  EXPECT_EQ(cluster_table[0].center[0], 123.0f);
  EXPECT_EQ(init_done, init_before);

  // Detection refuses while the rejection is stored, even with enough signals.
  const float signal[3] = {1.0f, 2.0f, 3.0f};
  std::uint8_t similarity = 0;
  EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_knowledge_rejected);
  EXPECT_EQ(similarity, 255);

  knowledge[67] = 1000000.0f;
  knowledge[71] = test::kNaN;
  EXPECT_EQ(import_knowledge_buffer(knowledge.data()), 1);
  knowledge[71] = 1.0f;
  knowledge[60] = -0.0f;
  EXPECT_EQ(import_knowledge_buffer(knowledge.data()), 0);
}

TEST(KnowledgeBuffer, ConversionsTruncateAndNeverOverflow) {
  Knowledge k{};
  export_knowledge_buffer(k.data());
  k[0] = test::kNaN;   // NaN: 0
  k[1] = test::kInf;   // saturates at 2^31 - 1: low 8 bits 255
  k[2] = -test::kInf;  // saturates at -2^31: low 8 bits 0
  k[7] = 1e10f;        // count: low 16 bits of 2^31 - 1
  k[12] = -1.5f;       // truncated to -1: 65535
  k[53] = 300.0f;      // a slot number beyond the table keeps its low 8 bits
  k[56] = 3.99f;
  EXPECT_EQ(import_knowledge_buffer(k.data()), 0);
  EXPECT_EQ(learn_count, 0u);
  EXPECT_EQ(measure_primary, 255);
  EXPECT_EQ(measure_secondary, 0);
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
