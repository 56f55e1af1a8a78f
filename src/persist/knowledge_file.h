#pragma once
// Import of a knowledge file: the 72 little-endian floats of a knowledge
// (see engine/knowledge_buffer.h), read four bytes at a time.

#include <cstdint>
#include <cstdio>

namespace vtl {

// Reads from the file's current position (its start) straight into the model
// and into *learned_total (the front end's count of learned signals); returns 0 when the configuration signature matched and
// 1 at the first value that did not (the values after it are not read). A file
// too short to hold the whole record is rejected with 1; the values it did hold
// have been stored.
std::uint8_t import_knowledge_file(std::FILE* file, std::int32_t* learned_total);

}  // namespace vtl
