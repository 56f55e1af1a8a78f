// End-to-end tests of the knowledge import: accepted and rejected files, and
// the totals it sets.

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "cli/expected_text.h"
#include "cli/session.h"

namespace vtl::test {
namespace {

const std::string kKnowledge = "vtl_anomalydetection_knowledge";

std::array<float, 72> knowledge_record() {
  std::array<float, 72> r{};
  r[0] = 14.0f;  // learned signals
  r[1] = 4.0f;
  r[2] = 1.0f;
  for (int k = 0; k < 10; ++k) {
    r[3 + 5 * k] = 1.0f + static_cast<float>(k);
    r[4 + 5 * k] = 2.0f;
    r[5 + 5 * k] = 3.0f;
    r[6 + 5 * k] = k < 3 ? 0.5f : 0.0f;
    r[7 + 5 * k] = k < 3 ? 4.0f : 1.0f;
  }
  r[53] = 9.0f;
  r[54] = 9.0f;
  r[55] = 3.0f;
  r[56] = 1.0f;
  const float signature[15] = {8, 3, 1, 0, 0, 0, 100, 0, 0, 0, 1000000, 0, 10, 21, 1};
  std::memcpy(r.data() + 57, signature, sizeof signature);
  return r;
}

std::string bytes_of(const std::array<float, 72>& r, size_t length) {
  std::string bytes(reinterpret_cast<const char*>(r.data()), sizeof r);  // little-endian host
  bytes.resize(length, '\0');
  return bytes;
}

std::string loaded_report(const std::string& file, int learned, int detected) {
  return report_head("load_knowledge", "1.00", file) + "\t\"results\": [],\n" +
         kNullDetectionResults + totals_tail(learned, detected, detected, 0);
}

TEST(KnowledgeImport, AcceptedFileReplacesTheModelAndKeepsTheTotals) {
  Session s;
  StateImage before = StateImage::after_init();
  before.learned(3).i32(4, 6).i32(8, 6).f32(16, 1.0f);
  s.write_state(before.bytes());
  s.write_file("model.bin", bytes_of(knowledge_record(), 288));
  s.write_file("long.bin", bytes_of(knowledge_record(), 300));
  s.run_steps({{{kKnowledge, "--knowledge_path", "model.bin"}, loaded_report("model.bin", 14, 6), 0,
                StateAfter::changed}});
  const std::string state = *s.state();
  ASSERT_EQ(state.size(), 216u);
  std::int32_t learned;
  std::uint32_t learn_count;
  float slot1_x;
  std::uint16_t slot2_count;
  std::memcpy(&learned, state.data(), 4);
  std::memcpy(&learn_count, state.data() + 21, 4);
  std::memcpy(&slot1_x, state.data() + 31 + 18, 4);
  std::memcpy(&slot2_count, state.data() + 31 + 36 + 16, 2);
  EXPECT_EQ(learned, 14);
  EXPECT_EQ(learn_count, 14u);
  EXPECT_EQ(slot1_x, 2.0f);
  EXPECT_EQ(slot2_count, 4);
  EXPECT_EQ(state[213], 3);  // smallest_count_slot

  // A longer file with a correct record in its first 288 bytes is accepted too,
  // and the imported model detects.
  s.run_steps({{{kKnowledge, "--knowledge_path", "long.bin"}, loaded_report("long.bin", 14, 6), 0}});
  EXPECT_EQ(s.run({"vtl_anomalydetection_detect", "--array", "2", "2", "3"}).status, 0);
}

TEST(KnowledgeImport, RejectedFilesChangeNothing) {
  Session s;
  s.run({"vtl_anomalydetection_init"});
  const std::string mismatch =
      "Error: a knowledge that do not match the library has been loaded 1 !\n";
  std::array<float, 72> wrong = knowledge_record();
  wrong[71] = 2.0f;
  std::array<float, 72> nan_signature = knowledge_record();
  nan_signature[71] = std::numeric_limits<float>::quiet_NaN();
  std::array<float, 72> negative_zero = knowledge_record();
  negative_zero[60] = -0.0f;
  s.write_file("wrong.bin", bytes_of(wrong, 288));
  s.write_file("nan.bin", bytes_of(nan_signature, 288));
  s.write_file("short.bin", bytes_of(knowledge_record(), 287));
  s.write_file("tiny.bin", bytes_of(knowledge_record(), 200));
  s.write_file("zero.bin", bytes_of(negative_zero, 288));
  s.run_steps({
      {{kKnowledge, "--knowledge_path", "wrong.bin"}, mismatch, 1, StateAfter::unchanged},
      {{kKnowledge, "--knowledge_path", "nan.bin"}, mismatch, 1, StateAfter::unchanged},
      {{kKnowledge, "--knowledge_path", "short.bin"}, mismatch, 1, StateAfter::unchanged},
      {{kKnowledge, "--knowledge_path", "tiny.bin"}, mismatch, 1, StateAfter::unchanged},
      {{kKnowledge, "--knowledge_path", "zero.bin"}, loaded_report("zero.bin", 14, 0), 0,
       StateAfter::changed},
  });
}

}  // namespace
}  // namespace vtl::test
