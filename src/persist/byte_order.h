#pragma once
// Little-endian packing of the binary files, independent of the host's byte
// order and of any in-memory layout.

#include <bit>
#include <cstdint>

namespace vtl {

inline void put_u8(std::uint8_t* p, std::uint8_t v) { p[0] = v; }

inline void put_u16(std::uint8_t* p, std::uint16_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
}

inline void put_u32(std::uint8_t* p, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}

inline void put_f32(std::uint8_t* p, float v) { put_u32(p, std::bit_cast<std::uint32_t>(v)); }

inline std::uint16_t get_u16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

inline std::uint32_t get_u32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

inline float get_f32(const std::uint8_t* p) { return std::bit_cast<float>(get_u32(p)); }

}  // namespace vtl
