#include "engine/knowledge_buffer.h"

#include <cmath>
#include <limits>

#include "engine/interface.h"
#include "engine/model.h"

namespace vtl {

// The model positions: the count, two selectors, five values per slot (53
// being the first position after the table) and four of learning bookkeeping.
static_assert(3 + 5 * kClusterSlots == 53);
static_assert(53 + 4 == kKnowledgeModelValues);

namespace {

template <typename Int>
Int truncate_saturating(float value) {
  if (std::isnan(value)) return 0;
  // Both limits are powers of two, so they convert to float exactly.
  constexpr float kUpper = -static_cast<float>(std::numeric_limits<Int>::min());
  if (value >= kUpper) return std::numeric_limits<Int>::max();
  if (value < static_cast<float>(std::numeric_limits<Int>::min())) {
    return std::numeric_limits<Int>::min();
  }
  return static_cast<Int>(value);  // truncation toward zero, in range
}

std::uint8_t low8(float value) { return static_cast<std::uint8_t>(truncate_to_int32(value)); }
std::uint16_t low16(float value) { return static_cast<std::uint16_t>(truncate_to_int32(value)); }

// The nearest float not above an integer count, so that truncation gives back
// at most the count (never a wrapped value).
float count_to_float(std::uint64_t count) {
  float value = static_cast<float>(count);
  if (static_cast<std::uint64_t>(value) > count) value = std::nextafter(value, 0.0f);
  return value;
}

}  // namespace

std::int64_t truncate_to_int64(float value) { return truncate_saturating<std::int64_t>(value); }
std::int32_t truncate_to_int32(float value) { return truncate_saturating<std::int32_t>(value); }

void store_knowledge_value(unsigned position, float value) {
  if (position == 0) {
    learn_count = static_cast<std::uint32_t>(truncate_to_int64(value));
  } else if (position == 1) {
    measure_primary = low8(value);
  } else if (position == 2) {
    measure_secondary = low8(value);
  } else if (position < 53) {
    ClusterRecord& slot = cluster_table[(position - 3) / 5];
    const unsigned field = (position - 3) % 5;
    if (field < 3) {
      slot.center[field] = value;
    } else if (field == 3) {
      slot.radius = value;
    } else {
      slot.count = low16(value);
    }
  } else if (position == 53) {
    spare_slot = low8(value);
  } else if (position == 54) {
    filled_slots = low8(value);
  } else if (position == 55) {
    smallest_count_slot = low8(value);
  } else if (position == 56) {
    smallest_count = low16(value);
  }
}

bool knowledge_signature_matches(unsigned position, float value) {
  if (position < kKnowledgeModelValues || position >= kKnowledgeValues) return false;
  return value == kKnowledgeSignature[position - kKnowledgeModelValues];
}

// The model is written before the signature is looked at, so a rejected
// knowledge still replaces the model in memory; the device works this way and
// marks the engine instead (status 125 blocks detection), which callers see.
std::uint8_t import_knowledge_buffer(const float* knowledge) {
  for (unsigned position = 0; position < kKnowledgeModelValues; ++position) {
    store_knowledge_value(position, knowledge[position]);
  }
  for (unsigned position = kKnowledgeModelValues; position < kKnowledgeValues; ++position) {
    if (!knowledge_signature_matches(position, knowledge[position])) return 1;
  }
  return 0;
}

std::uint32_t vtl_anomalydetection_knowledge(const float* knowledge) {
  if (import_knowledge_buffer(knowledge) == 1) {
    engine_status = status_knowledge_rejected;
    return status_knowledge_rejected;
  }
  return engine_status;
}

void export_knowledge_buffer(float* knowledge) {
  knowledge[0] = count_to_float(learn_count);
  knowledge[1] = static_cast<float>(measure_primary);
  knowledge[2] = static_cast<float>(measure_secondary);
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    float* slot = knowledge + 3 + 5 * k;
    slot[0] = cluster_table[k].center[0];
    slot[1] = cluster_table[k].center[1];
    slot[2] = cluster_table[k].center[2];
    slot[3] = cluster_table[k].radius;
    slot[4] = static_cast<float>(cluster_table[k].count);
  }
  knowledge[53] = static_cast<float>(spare_slot);
  knowledge[54] = static_cast<float>(filled_slots);
  knowledge[55] = static_cast<float>(smallest_count_slot);
  knowledge[56] = static_cast<float>(smallest_count);
  for (unsigned i = 0; i < kKnowledgeSignatureValues; ++i) {
    knowledge[kKnowledgeModelValues + i] = kKnowledgeSignature[i];
  }
}

}  // namespace vtl
