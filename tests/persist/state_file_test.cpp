// The state file's layout, checked against bytes written by hand at the
// documented offsets, and the rules for short and long files.

#include "persist/state_file.h"
#include "persist/state_store.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "engine/interface.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::bits;
using test::from_bits;

// Field values whose bytes all differ, so that a field written at the wrong
// offset, in the wrong order or with the wrong width shows up.
constexpr ReportTotals kTotals{0x11121314, 0x21222324, 0x31323334, 0x41424344};

std::uint32_t center_bits(unsigned slot, unsigned c) { return 0xC0A00000u | (slot << 8) | c; }
std::uint32_t radius_bits(unsigned slot) { return 0x3EB00000u | slot; }

void set_distinct_model() {
  sensitivity = from_bits(0x51525354u);
  init_done = 0x61;
  learn_count = 0x71727374u;
  frame_length = 0x8182;
  vector_length = 0x9192;
  measure_primary = 0xA1;
  measure_secondary = 0xB1;
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    for (unsigned c = 0; c < 3; ++c) cluster_table[k].center[c] = from_bits(center_bits(k, c));
    cluster_table[k].radius = from_bits(radius_bits(k));
    cluster_table[k].count = static_cast<std::uint16_t>(0xD0E0 + k);
  }
  spare_slot = 0xE1;
  filled_slots = 0xE2;
  smallest_count_slot = 0xE3;
  smallest_count = 0xF1F2;
}

void put_le(std::vector<std::uint8_t>& image, std::size_t at, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i) image[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// The layout as documented: offsets and widths written out, not computed by
// the code under test.
std::vector<std::uint8_t> hand_written_image() {
  std::vector<std::uint8_t> image(216, 0);
  const std::uint8_t head[31] = {0x14, 0x13, 0x12, 0x11,  // learned_total
                                 0x24, 0x23, 0x22, 0x21,  // detected_total
                                 0x34, 0x33, 0x32, 0x31,  // nominal_total
                                 0x44, 0x43, 0x42, 0x41,  // anomaly_total
                                 0x54, 0x53, 0x52, 0x51,  // sensitivity
                                 0x61,                    // init_done
                                 0x74, 0x73, 0x72, 0x71,  // learn_count, unaligned at 21
                                 0x82, 0x81,              // frame_length
                                 0x92, 0x91,              // vector_length
                                 0xA1, 0xB1};             // measure_primary, measure_secondary
  std::memcpy(image.data(), head, sizeof head);
  for (unsigned k = 0; k < 10; ++k) {
    const std::size_t block = 31 + 18 * k;  // center x, y, z, radius, count
    for (unsigned c = 0; c < 3; ++c) put_le(image, block + 4 * c, center_bits(k, c), 4);
    put_le(image, block + 12, radius_bits(k), 4);
    put_le(image, block + 16, 0xD0E0 + k, 2);
  }
  // spare_slot, filled_slots, smallest_count_slot, smallest_count
  const std::uint8_t tail[5] = {0xE1, 0xE2, 0xE3, 0xF2, 0xF1};
  std::memcpy(image.data() + 211, tail, sizeof tail);
  return image;
}

void clear_model() {
  engine_reset();
  sensitivity = 1.0f;
  init_done = 0;
  learn_count = 0;
  frame_length = 0;
  vector_length = 0;
}

// Encodes the model and the totals and compares the bytes with the hand-written image.
void expect_hand_written_image(const ReportTotals& totals) {
  std::vector<std::uint8_t> image(kStateFileSize);
  encode_state(totals, image.data());
  const std::vector<std::uint8_t> expected = hand_written_image();
  for (std::size_t offset = 0; offset < kStateFileSize; ++offset) {
    EXPECT_EQ(image[offset], expected[offset]) << "byte " << offset;
  }
}

TEST(StateFile, EveryFieldIsAtItsDocumentedOffset) {
  set_distinct_model();
  expect_hand_written_image(kTotals);
  // With the encoder checked against the image, encoding what was decoded
  // gives the image back only if every field was decoded from the right bytes.
  clear_model();
  ReportTotals totals;
  const std::vector<std::uint8_t> image = hand_written_image();
  decode_state(image.data(), image.size(), totals);
  expect_hand_written_image(totals);
}

TEST(StateFile, NaNPayloadsSurviveTheRoundTrip) {
  clear_model();
  sensitivity = from_bits(0x7FC01234u);
  cluster_table[9].center[1] = from_bits(0xFF80000Au);  // signalling NaN
  cluster_table[3].radius = -0.0f;
  std::uint8_t image[kStateFileSize];
  encode_state({}, image);
  clear_model();
  ReportTotals totals;
  decode_state(image, sizeof image, totals);
  EXPECT_EQ(bits(sensitivity), 0x7FC01234u);
  EXPECT_EQ(bits(cluster_table[9].center[1]), 0xFF80000Au);
  EXPECT_EQ(bits(cluster_table[3].radius), 0x80000000u);
}

TEST(StateFile, AFieldCutOffByTheEndKeepsItsValue) {
  const std::vector<std::uint8_t> image = hand_written_image();
  clear_model();
  ReportTotals totals{5, 6, 7, 8};
  decode_state(image.data(), 3, totals);  // three of learned_total's four bytes
  EXPECT_EQ(5, totals.learned);
  decode_state(image.data(), 19, totals);  // three of the sensitivity's four
  EXPECT_EQ(kTotals.anomaly, totals.anomaly);
  EXPECT_FLOAT_BITS(1.0f, sensitivity);
  decode_state(image.data(), 20, totals);  // ends just before init_done
  EXPECT_EQ(0x51525354u, bits(sensitivity));
  EXPECT_EQ(0, init_done);
  decode_state(image.data(), 24, totals);  // three of learn_count's four
  EXPECT_EQ(0x61, init_done);
  EXPECT_EQ(0u, learn_count);
  EXPECT_EQ(4, measure_primary);
  decode_state(image.data(), 215, totals);  // one of smallest_count's two
  EXPECT_EQ(0xE3, smallest_count_slot);
  EXPECT_EQ(65535, smallest_count);
}

TEST(StateStore, DurableSavesAreAskedForByAnyValueButEmptyOrZero) {
  EXPECT_FALSE(sync_requested(nullptr));
  for (const char* no : {"", "0"}) EXPECT_FALSE(sync_requested(no)) << no;
  // Any other text, as with most such switches.
  for (const char* yes : {"1", "00", "no", "yes"}) EXPECT_TRUE(sync_requested(yes)) << yes;
}

}  // namespace
}  // namespace vtl
