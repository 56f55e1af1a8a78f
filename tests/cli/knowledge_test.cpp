// End-to-end tests of the knowledge import: an accepted file replaces the model
// and the learned total; a rejected one changes nothing on disk.

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "cli/expected_text.h"
#include "cli/session.h"

namespace vtl::test {
namespace {

const std::string kKnowledge = "vtl_anomalydetection_knowledge";

// A model of three merged clusters with 14 learned signals, as file bytes.
std::string knowledge_bytes(size_t length, float last_signature_value = 1.0f) {
  std::array<float, 72> r{14.0f, 4.0f, 1.0f};
  for (int k = 0; k < 10; ++k) {
    const float slot[5] = {1.0f + static_cast<float>(k), 2.0f, 3.0f, k < 3 ? 0.5f : 0.0f,
                           k < 3 ? 4.0f : 1.0f};
    std::memcpy(r.data() + 3 + 5 * k, slot, sizeof slot);
  }
  const float tail[19] = {9, 9, 3, 1, 8, 3, 1, 0, 0, 0, 100, 0, 0, 0, 1000000, 0, 10, 21, 1};
  std::memcpy(r.data() + 53, tail, sizeof tail);
  r[71] = last_signature_value;
  std::string bytes(reinterpret_cast<const char*>(r.data()), sizeof r);  // little-endian host
  bytes.resize(length, '\0');
  return bytes;
}

std::string loaded_report(const std::string& file, int learned, int detected) {
  return report_head("load_knowledge", "1.00", file) + "\t\"results\": [],\n" +
         kNullDetectionResults + totals_tail(learned, detected, detected, 0);
}

TEST(KnowledgeImport, OnlyAMatchingWholeRecordReplacesTheState) {
  Session s;
  s.write_state(StateImage::after_init().learned(3).i32(4, 6).i32(8, 6).bytes());
  s.write_file("model.bin", knowledge_bytes(288));
  s.write_file("long.bin", knowledge_bytes(300));
  s.write_file("wrong.bin", knowledge_bytes(288, 2.0f));
  s.write_file("short.bin", knowledge_bytes(287));
  const std::string mismatch =
      "Error: a knowledge that do not match the library has been loaded 1 !\n";
  s.run_steps({
      {{kKnowledge, "--knowledge_path", "wrong.bin"}, mismatch, 1, StateAfter::unchanged},
      {{kKnowledge, "--knowledge_path", "short.bin"}, mismatch, 1, StateAfter::unchanged},
      {{kKnowledge, "--knowledge_path", "model.bin"},
       loaded_report("model.bin", 14, 6),
       0,
       StateAfter::changed},
      {{kKnowledge, "--knowledge_path", "long.bin"}, loaded_report("long.bin", 14, 6), 0},
  });
  const std::string state = *s.state();
  ASSERT_EQ(state.size(), 216u);
  StateImage expected = StateImage::after_init();
  expected.learned(14).i32(4, 6).i32(8, 6).u8(211, 9).u8(212, 9).u8(213, 3).u16(214, 1);
  for (int k = 0; k < 10; ++k) {
    expected.f32(31 + 18 * k, 1.0f + static_cast<float>(k)).f32(35 + 18 * k, 2.0f);
    expected.f32(39 + 18 * k, 3.0f).f32(43 + 18 * k, k < 3 ? 0.5f : 0.0f);
    expected.u16(47 + 18 * k, k < 3 ? 4 : 1);
  }
  EXPECT_EQ(state, expected.bytes());
  // The imported model detects.
  EXPECT_EQ(s.run({"vtl_anomalydetection_detect", "--array", "2", "2", "3"}).status, 0);
}

}  // namespace
}  // namespace vtl::test
