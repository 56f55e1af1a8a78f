#include "persist/knowledge_file.h"

#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "persist/byte_order.h"

namespace vtl {

static_assert(kKnowledgeFileSize == 4 * kKnowledgeValues, "a knowledge is 72 floats");

std::uint8_t import_knowledge_file(const std::uint8_t* bytes, std::size_t length,
                                   std::int32_t* learned_total) {
  const std::size_t whole_values = length / 4;
  for (unsigned position = 0; position < kKnowledgeModelValues; ++position) {
    if (position >= whole_values) return 1;
    store_knowledge_value(position, get_f32(bytes + 4 * position));
    if (position == 0) *learned_total = static_cast<std::int32_t>(learn_count);
  }
  for (unsigned position = kKnowledgeModelValues; position < kKnowledgeValues; ++position) {
    if (position >= whole_values) return 1;
    if (!knowledge_signature_matches(position, get_f32(bytes + 4 * position))) return 1;
  }
  return 0;
}

}  // namespace vtl
