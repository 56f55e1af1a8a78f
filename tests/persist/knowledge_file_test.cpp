// Import of knowledge files: what the file adds to the buffer import (reading
// four bytes at a time, the learned total, the length rules).

#include "persist/knowledge_file.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "cli/front_state.h"
#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "engine/model.h"

namespace vtl {
namespace {

std::uint8_t import_bytes(const std::array<float, 72>& r, size_t length, size_t extra = 0) {
  std::FILE* file = std::tmpfile();
  std::fwrite(r.data(), 1, length, file);  // the host is little-endian, like the file
  for (size_t i = 0; i < extra; ++i) std::fputc(0, file);
  std::rewind(file);
  const std::uint8_t result = import_knowledge_file(file);
  std::fclose(file);
  return result;
}

TEST(KnowledgeFile, ImportsTheRecordAndTheLearnedTotal) {
  engine_reset();
  std::array<float, 72> record{};
  export_knowledge_buffer(record.data());
  record[0] = 12.9f;
  record[3 + 5 * 4] = 6.5f;
  record[7 + 5 * 9] = 3.99f;
  sensitivity = 2.0f;
  detected_total = 31;
  ASSERT_EQ(import_bytes(record, 288), 0);
  EXPECT_EQ(learn_count, 12u);
  EXPECT_EQ(learned_total, 12);
  EXPECT_EQ(cluster_table[4].center[0], 6.5f);
  EXPECT_EQ(cluster_table[9].count, 3);
  EXPECT_EQ(sensitivity, 2.0f);  // settings and the other totals are not part of it
  EXPECT_EQ(detected_total, 31);

  EXPECT_EQ(import_bytes(record, 288, 12), 0);  // 300 bytes: the tail is ignored
  EXPECT_EQ(import_bytes(record, 287), 1);      // a cut value never passes
  EXPECT_EQ(import_bytes(record, 200), 1);
  record[71] = 2.0f;
  EXPECT_EQ(import_bytes(record, 288), 1);
  sensitivity = 1.0f;
}

}  // namespace
}  // namespace vtl
