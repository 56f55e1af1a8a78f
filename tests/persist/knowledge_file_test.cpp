// Import of knowledge files: conversions, signature, short and long files.

#include "persist/knowledge_file.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

#include "cli/front_state.h"
#include "engine/interface.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

using Record = std::array<float, 72>;

Record valid_record() {
  Record r{};
  r[0] = 12.9f;  // learned signals
  r[1] = 2.0f;
  r[2] = 3.0f;
  for (int k = 0; k < 10; ++k) {
    r[3 + 5 * k] = 1.5f * k;
    r[4 + 5 * k] = -2.0f;
    r[5 + 5 * k] = 0.1f;
    r[6 + 5 * k] = 0.25f * k;
    r[7 + 5 * k] = 3.99f;
  }
  r[53] = 4.0f;
  r[54] = 9.0f;
  r[55] = 6.0f;
  r[56] = -1.5f;
  const float signature[15] = {8, 3, 1, 0, 0, 0, 100, 0, 0, 0, 1000000, 0, 10, 21, 1};
  std::memcpy(r.data() + 57, signature, sizeof signature);
  return r;
}

// Writes the first `length` bytes of the record (then `extra` zero bytes) to a
// temporary file and imports it.
std::uint8_t import_bytes(const Record& r, size_t length, size_t extra = 0) {
  std::FILE* file = std::tmpfile();
  std::fwrite(r.data(), 1, length, file);
  for (size_t i = 0; i < extra; ++i) std::fputc(0, file);
  std::rewind(file);
  const std::uint8_t result = import_knowledge_file(file);
  std::fclose(file);
  return result;
}

TEST(KnowledgeFile, AcceptedRecordReplacesTheModel) {
  engine_reset();
  sensitivity = 2.0f;
  detected_total = 31;
  ASSERT_EQ(import_bytes(valid_record(), 288), 0);
  EXPECT_EQ(learn_count, 12u);
  EXPECT_EQ(learned_total, 12);
  EXPECT_EQ(measure_primary, 2);
  EXPECT_EQ(measure_secondary, 3);
  EXPECT_EQ(cluster_table[4].center[0], 6.0f);
  EXPECT_EQ(cluster_table[4].center[2], 0.1f);
  EXPECT_EQ(cluster_table[4].radius, 1.0f);
  EXPECT_EQ(cluster_table[9].count, 3);  // 3.99 truncates to 3
  EXPECT_EQ(spare_slot, 4);
  EXPECT_EQ(filled_slots, 9);
  EXPECT_EQ(smallest_count_slot, 6);
  EXPECT_EQ(smallest_count, 65535);  // -1.5 truncates to -1, whose low 16 bits are 65535
  // Settings and the other totals are not part of a knowledge.
  EXPECT_EQ(sensitivity, 2.0f);
  EXPECT_EQ(detected_total, 31);
}

TEST(KnowledgeFile, SignatureDecidesAndIsComparedAsFloats) {
  Record r = valid_record();
  r[71] = 2.0f;
  EXPECT_EQ(import_bytes(r, 288), 1);
  EXPECT_EQ(learn_count, 12u);  // the model is written before the signature is read

  r = valid_record();
  r[71] = test::kNaN;
  EXPECT_EQ(import_bytes(r, 288), 1);

  r = valid_record();
  r[60] = -0.0f;  // matches 0
  EXPECT_EQ(import_bytes(r, 288), 0);

  r = valid_record();
  r[67] = 999999.94f;
  EXPECT_EQ(import_bytes(r, 288), 1);
}

TEST(KnowledgeFile, LengthRules) {
  const Record r = valid_record();
  EXPECT_EQ(import_bytes(r, 287), 1);
  EXPECT_EQ(import_bytes(r, 200), 1);
  EXPECT_EQ(import_bytes(r, 1), 1);
  EXPECT_EQ(import_bytes(r, 288, 12), 0);  // 300 bytes: the tail is ignored
}

TEST(KnowledgeFile, UnrepresentableValuesConvertDeterministically) {
  constexpr float kInf = std::numeric_limits<float>::infinity();
  Record r = valid_record();
  r[0] = test::kNaN;    // NaN gives 0
  r[1] = kInf;          // saturates at 2^31 - 1: low 8 bits 255
  r[2] = -kInf;         // saturates at -2^31: low 8 bits 0
  r[7] = 1e10f;         // count: 2^31 - 1, low 16 bits 65535
  r[12] = -70000.0f;    // count: -70000 & 0xFFFF
  r[53] = 300.0f;       // a slot number beyond the table is stored as its low 8 bits
  ASSERT_EQ(import_bytes(r, 288), 0);
  EXPECT_EQ(learn_count, 0u);
  EXPECT_EQ(measure_primary, 255);
  EXPECT_EQ(measure_secondary, 0);
  EXPECT_EQ(cluster_table[0].count, 65535);
  EXPECT_EQ(cluster_table[1].count, static_cast<std::uint16_t>(-70000));
  EXPECT_EQ(spare_slot, 44);

  r = valid_record();
  r[0] = 1e19f;  // beyond 64 bits: saturates, low 32 bits of 2^63 - 1
  ASSERT_EQ(import_bytes(r, 288), 0);
  EXPECT_EQ(learn_count, 0xFFFFFFFFu);
  EXPECT_EQ(learned_total, -1);
  r[0] = 4294967296.0f * 3.0f + 1024.0f;  // exact in float: low 32 bits are 1024
  ASSERT_EQ(import_bytes(r, 288), 0);
  EXPECT_EQ(learn_count, 1024u);
}

}  // namespace
}  // namespace vtl
