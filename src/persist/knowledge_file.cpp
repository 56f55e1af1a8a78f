#include "persist/knowledge_file.h"

#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "persist/byte_order.h"

namespace vtl {

namespace {

bool read_value(std::FILE* file, float* value) {
  std::uint8_t bytes[4];
  if (std::fread(bytes, 1, sizeof bytes, file) != sizeof bytes) return false;
  *value = get_f32(bytes);
  return true;
}

}  // namespace

std::uint8_t import_knowledge_file(std::FILE* file, std::int32_t* learned_total) {
  float value = 0.0f;
  for (unsigned position = 0; position < kKnowledgeModelValues; ++position) {
    if (!read_value(file, &value)) return 1;
    store_knowledge_value(position, value);
    if (position == 0) *learned_total = static_cast<std::int32_t>(learn_count);
  }
  for (unsigned position = kKnowledgeModelValues; position < kKnowledgeValues; ++position) {
    if (!read_value(file, &value) || !knowledge_signature_matches(position, value)) return 1;
  }
  return 0;
}

}  // namespace vtl
