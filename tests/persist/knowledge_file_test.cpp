// The knowledge file: 72 little-endian floats imported value by value, and its
// length rules.

#include "persist/knowledge_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "engine/model.h"

namespace vtl {
namespace {

// A valid knowledge of 14 learned signals with selectors 2 and 3, as file bytes
// (the host is little-endian, like the file).
std::vector<std::uint8_t> knowledge_file() {
  float values[kKnowledgeValues] = {14.0f, 2.0f, 3.0f};
  for (unsigned p = 3; p < kKnowledgeModelValues; ++p) values[p] = static_cast<float>(p);
  std::memcpy(values + kKnowledgeModelValues, kKnowledgeSignature, sizeof kKnowledgeSignature);
  std::vector<std::uint8_t> bytes(kKnowledgeFileSize);
  std::memcpy(bytes.data(), values, bytes.size());
  return bytes;
}

TEST(KnowledgeFile, AWholeRecordSetsTheModelAndTheLearnedTotal) {
  engine_reset();
  std::int32_t learned_total = -1;
  const std::vector<std::uint8_t> file = knowledge_file();
  EXPECT_EQ(0, import_knowledge_file(file.data(), file.size(), &learned_total));
  EXPECT_EQ(14, learned_total);
  EXPECT_EQ(14u, learn_count);
  EXPECT_EQ(2, measure_primary);
  EXPECT_EQ(3, measure_secondary);
  EXPECT_EQ(3.0f, cluster_table[0].center[0]);
  EXPECT_EQ(56, smallest_count);
}

TEST(KnowledgeFile, AShortFileIsRejectedAfterStoringTheWholeValuesItHolds) {
  const std::vector<std::uint8_t> file = knowledge_file();  // the bytes beyond length are valid
  std::int32_t learned_total = -1;
  EXPECT_EQ(1, import_knowledge_file(file.data(), 287, &learned_total));
  engine_reset();
  learned_total = -1;
  EXPECT_EQ(1, import_knowledge_file(file.data(), 4, &learned_total));
  EXPECT_EQ(14, learned_total);
  EXPECT_EQ(4, measure_primary);
  EXPECT_EQ(1, import_knowledge_file(file.data(), 11, &learned_total));
  EXPECT_EQ(2, measure_primary);
  EXPECT_EQ(1, measure_secondary);
}

}  // namespace
}  // namespace vtl
