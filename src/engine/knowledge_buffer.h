#pragma once
// A knowledge: a learned model exported as 72 floats (learning count, the two
// selectors, the 10 clusters, the learning bookkeeping) closed by a 15-value
// configuration signature that must match this engine.
//
// Position  content                      stored as
//   0       learning count               learn_count: truncated to 64 bits, low 32 kept
//   1, 2    measure selectors            truncated to 32 bits, low 8 kept
//   3+5k..  slot k: center x, y, z,      bit for bit
//   6+5k    radius                       bit for bit
//   7+5k    count                        truncated to 32 bits, low 16 kept
//   53..55  spare slot, filled slots,    truncated to 32 bits, low 8 kept
//           slot of the smallest count
//   56      smallest count               truncated to 32 bits, low 16 kept
//   57..71  configuration signature      compared, not stored
//
// Values the truncation cannot represent are converted deterministically: NaN
// gives 0, and values beyond the integer's range saturate to its smallest or
// largest value before the low bits are kept.

#include <cstdint>

namespace vtl {

inline constexpr unsigned kKnowledgeValues = 72;
inline constexpr unsigned kKnowledgeModelValues = 57;  // positions 0..56
inline constexpr unsigned kKnowledgeSignatureValues = 15;
inline constexpr float kKnowledgeSignature[kKnowledgeSignatureValues] = {
    8.0f, 3.0f, 1.0f,       0.0f, 0.0f,  0.0f,  100.0f, 0.0f,
    0.0f, 0.0f, 1000000.0f, 0.0f, 10.0f, 21.0f, 1.0f};

static_assert(kKnowledgeModelValues + kKnowledgeSignatureValues == kKnowledgeValues);
// A knowledge file holds the 72 values as 4-byte floats: 288 bytes.
static_assert(sizeof(float) == 4 && kKnowledgeValues * sizeof(float) == 288);

std::int64_t truncate_to_int64(float value);
std::int32_t truncate_to_int32(float value);

// Stores the value of one model position (0..56) into the field it carries.
void store_knowledge_value(unsigned position, float value);
// Whether the value at a signature position (57..71) equals the expected one as
// a float comparison (NaN never matches, -0.0 matches 0).
bool knowledge_signature_matches(unsigned position, float value);

// Copies positions 0..56 into the model, then checks the signature: 0 when it
// matched, 1 at the first mismatch. The model is replaced either way.
std::uint8_t import_knowledge_buffer(const float* knowledge);

// The inverse: writes the current model as a knowledge of 72 floats that the
// import accepts and that reproduces the model. The learning count is exact up
// to 2^24; beyond, it is written as the nearest float not above it.
void export_knowledge_buffer(float* knowledge);

}  // namespace vtl
