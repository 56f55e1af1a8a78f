#pragma once
// Import of a knowledge file: the 72 little-endian floats of a knowledge
// (see engine/knowledge_buffer.h), 288 bytes.

#include <cstddef>
#include <cstdint>

namespace vtl {

inline constexpr std::size_t kKnowledgeFileSize = 288;

// Imports the first `length` bytes of a knowledge file straight into the model
// and into *learned_total (the front end's count of learned signals), value by
// value in file order; returns 0 when the configuration signature matched and
// 1 at the first value that did not (the values after it are not looked at).
// A file too short to hold the whole record is rejected with 1; the whole
// values it did hold have been stored. Bytes after 288 are ignored.
std::uint8_t import_knowledge_file(const std::uint8_t* bytes, std::size_t length,
                                   std::int32_t* learned_total);

}  // namespace vtl
