#pragma once
// The state file: a packed little-endian record of 216 bytes that carries the
// model, the engine's settings and the report totals between invocations.
//
// offset size field                 offset size field
//   0     4   learned_total           29    1   measure_primary
//   4     4   detected_total          30    1   measure_secondary
//   8     4   nominal_total           31  180   cluster_table, 18 bytes a slot:
//  12     4   anomaly_total                     center x, y, z, radius (floats),
//  16     4   sensitivity                       count (u16)
//  20     1   init_done              211    1   spare_slot
//  21     4   learn_count            212    1   filled_slots
//  25     2   frame_length           213    1   smallest_count_slot
//  27     2   vector_length          214    2   smallest_count

#include <cstddef>
#include <cstdint>

namespace vtl {

inline constexpr std::size_t kStateFileSize = 216;

// The four report totals that travel with the model; the front end owns them.
struct ReportTotals {
  std::int32_t learned = 0;
  std::int32_t detected = 0;
  std::int32_t nominal = 0;
  std::int32_t anomaly = 0;
};

// The engine's globals and the totals as the file's bytes.
void encode_state(const ReportTotals& totals, std::uint8_t* image);
// Loads every field that lies wholly within the first `length` bytes into the
// engine's globals and the totals; the others keep their values (a field cut
// off by the end counts as absent).
void decode_state(const std::uint8_t* image, std::size_t length, ReportTotals& totals);

}  // namespace vtl
