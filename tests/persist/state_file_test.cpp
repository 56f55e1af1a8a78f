// The state file's layout, round trip and short/long files.

#include "persist/state_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "engine/interface.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::bits;
using test::from_bits;

ReportTotals totals;

// Gives every saved field a distinct value, NaN payloads and -0.0 included.
void fill_distinct_state() {
  totals = {-2, 0x01020304, 77, 2147483647};
  sensitivity = from_bits(0x7FC01234u);  // NaN with a payload
  init_done = 0xA5;
  learn_count = 0xDEADBEEFu;
  frame_length = 0x1234;
  vector_length = 0xFEDC;
  measure_primary = 200;
  measure_secondary = 3;
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    cluster_table[k].count = static_cast<std::uint16_t>(1000 + k);
    cluster_table[k].radius = k == 3 ? -0.0f : 0.5f * static_cast<float>(k);
    cluster_table[k].center[0] = static_cast<float>(k) + 0.25f;
    cluster_table[k].center[1] = from_bits(0xFF800001u + k);  // signalling-NaN payloads
    cluster_table[k].center[2] = -static_cast<float>(k);
  }
  spare_slot = 4;
  filled_slots = 9;
  smallest_count_slot = 7;
  smallest_count = 0xBEEF;
}

std::vector<std::uint8_t> encoded() {
  std::vector<std::uint8_t> image(kStateFileSize);
  encode_state(totals, image.data());
  return image;
}

TEST(StateFile, SaveThenLoadRestoresEveryFieldBitForBit) {
  fill_distinct_state();
  const std::vector<std::uint8_t> before = encoded();
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  ASSERT_TRUE(save_state(file, totals));
  EXPECT_EQ(std::ftell(file), 216);

  engine_reset();
  totals = {};
  sensitivity = 1.0f;
  init_done = 0;
  learn_count = 0;
  frame_length = vector_length = 0;
  std::rewind(file);
  load_state(file, totals);
  std::fclose(file);
  EXPECT_EQ(encoded(), before);
  EXPECT_EQ(bits(sensitivity), 0x7FC01234u);
  EXPECT_EQ(bits(cluster_table[9].center[1]), 0xFF80000Au);
}

TEST(StateFile, ShortFilesLoadWhatTheyHoldAndLongTailsAreIgnored) {
  fill_distinct_state();
  std::vector<std::uint8_t> image = encoded();
  image.resize(300, 0xEE);  // bytes after 216 are not read

  engine_reset();
  totals.learned = 5;
  sensitivity = 1.0f;
  learn_count = 0;
  decode_state(image.data(), 23, totals);  // learn_count cut off after two of its bytes
  EXPECT_EQ(totals.learned, -2);
  EXPECT_EQ(init_done, 0xA5);
  EXPECT_TRUE(std::isnan(sensitivity));
  EXPECT_EQ(learn_count, 0u);  // a cut field keeps its value
  EXPECT_EQ(measure_primary, 4);

  decode_state(image.data(), 0, totals);
  EXPECT_EQ(totals.learned, -2);

  decode_state(image.data(), image.size(), totals);
  EXPECT_EQ(smallest_count, 0xBEEF);
  EXPECT_EQ(encoded(), std::vector<std::uint8_t>(image.begin(), image.begin() + 216));
}

TEST(StateFile, SaveThroughAnUpdateHandleKeepsALongerTail) {
  fill_distinct_state();
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  const std::vector<std::uint8_t> junk(400, 0x5A);
  std::fwrite(junk.data(), 1, junk.size(), file);
  std::rewind(file);
  ASSERT_TRUE(save_state(file, totals));
  std::fseek(file, 0, SEEK_END);
  EXPECT_EQ(std::ftell(file), 400);
  std::fseek(file, 216, SEEK_SET);
  EXPECT_EQ(std::fgetc(file), 0x5A);
  std::fclose(file);
}

}  // namespace
}  // namespace vtl
