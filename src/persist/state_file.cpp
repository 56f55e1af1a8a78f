#include "persist/state_file.h"

#include "engine/interface.h"
#include "engine/model.h"
#include "persist/byte_order.h"

namespace vtl {

namespace {

constexpr std::size_t kClusterBlockOffset = 31;
constexpr std::size_t kClusterBlockSize = 18;

// Field offsets after the cluster table.
constexpr std::size_t kSpareSlotOffset = 211;
constexpr std::size_t kFilledSlotsOffset = 212;
constexpr std::size_t kSmallestSlotOffset = 213;
constexpr std::size_t kSmallestCountOffset = 214;

// The layout follows from the types of the fields it packs: a change of type
// must move the offsets, or the file stops being the device's.
static_assert(4 * sizeof(std::int32_t) + sizeof(sensitivity) + sizeof(init_done) +
                  sizeof(learn_count) + sizeof(frame_length) + sizeof(vector_length) +
                  sizeof(measure_primary) + sizeof(measure_secondary) ==
              kClusterBlockOffset);
static_assert(sizeof(ClusterRecord::center) + sizeof(ClusterRecord::radius) +
                  sizeof(ClusterRecord::count) ==
              kClusterBlockSize);
static_assert(kClusterBlockOffset + kClusterBlockSize * kClusterSlots == kSpareSlotOffset);
static_assert(kFilledSlotsOffset == kSpareSlotOffset + sizeof(spare_slot));
static_assert(kSmallestSlotOffset == kFilledSlotsOffset + sizeof(filled_slots));
static_assert(kSmallestCountOffset == kSmallestSlotOffset + sizeof(smallest_count_slot));
static_assert(kSmallestCountOffset + sizeof(smallest_count) == kStateFileSize);

// Reads fields in file order from a possibly short image.
class FieldReader {
 public:
  FieldReader(const std::uint8_t* image, std::size_t length) : image_(image), length_(length) {}

  bool has(std::size_t offset, std::size_t size) const { return offset + size <= length_; }

  void i32(std::size_t offset, std::int32_t& field) const {
    if (has(offset, 4)) field = static_cast<std::int32_t>(get_u32(image_ + offset));
  }
  void u32(std::size_t offset, std::uint32_t& field) const {
    if (has(offset, 4)) field = get_u32(image_ + offset);
  }
  void u16(std::size_t offset, std::uint16_t& field) const {
    if (has(offset, 2)) field = get_u16(image_ + offset);
  }
  void u8(std::size_t offset, std::uint8_t& field) const {
    if (has(offset, 1)) field = image_[offset];
  }
  void f32(std::size_t offset, float& field) const {
    if (has(offset, 4)) field = get_f32(image_ + offset);
  }

 private:
  const std::uint8_t* image_;
  std::size_t length_;
};

}  // namespace

void encode_state(const ReportTotals& totals, std::uint8_t* image) {
  put_u32(image + 0, static_cast<std::uint32_t>(totals.learned));
  put_u32(image + 4, static_cast<std::uint32_t>(totals.detected));
  put_u32(image + 8, static_cast<std::uint32_t>(totals.nominal));
  put_u32(image + 12, static_cast<std::uint32_t>(totals.anomaly));
  put_f32(image + 16, sensitivity);
  put_u8(image + 20, init_done);
  put_u32(image + 21, learn_count);
  put_u16(image + 25, frame_length);
  put_u16(image + 27, vector_length);
  put_u8(image + 29, measure_primary);
  put_u8(image + 30, measure_secondary);
  for (std::size_t k = 0; k < kClusterSlots; ++k) {
    std::uint8_t* block = image + kClusterBlockOffset + kClusterBlockSize * k;
    const ClusterRecord& slot = cluster_table[k];
    put_f32(block + 0, slot.center[0]);
    put_f32(block + 4, slot.center[1]);
    put_f32(block + 8, slot.center[2]);
    put_f32(block + 12, slot.radius);
    put_u16(block + 16, slot.count);
  }
  put_u8(image + kSpareSlotOffset, spare_slot);
  put_u8(image + kFilledSlotsOffset, filled_slots);
  put_u8(image + kSmallestSlotOffset, smallest_count_slot);
  put_u16(image + kSmallestCountOffset, smallest_count);
}

void decode_state(const std::uint8_t* image, std::size_t length, ReportTotals& totals) {
  const FieldReader read(image, length);
  read.i32(0, totals.learned);
  read.i32(4, totals.detected);
  read.i32(8, totals.nominal);
  read.i32(12, totals.anomaly);
  read.f32(16, sensitivity);
  read.u8(20, init_done);
  read.u32(21, learn_count);
  read.u16(25, frame_length);
  read.u16(27, vector_length);
  read.u8(29, measure_primary);
  read.u8(30, measure_secondary);
  for (std::size_t k = 0; k < kClusterSlots; ++k) {
    const std::size_t block = kClusterBlockOffset + kClusterBlockSize * k;
    ClusterRecord& slot = cluster_table[k];
    read.f32(block + 0, slot.center[0]);
    read.f32(block + 4, slot.center[1]);
    read.f32(block + 8, slot.center[2]);
    read.f32(block + 12, slot.radius);
    read.u16(block + 16, slot.count);
  }
  read.u8(kSpareSlotOffset, spare_slot);
  read.u8(kFilledSlotsOffset, filled_slots);
  read.u8(kSmallestSlotOffset, smallest_count_slot);
  read.u16(kSmallestCountOffset, smallest_count);
}

}  // namespace vtl
