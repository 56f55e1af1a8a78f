#pragma once
// The engine's operations, its interface globals and its status codes.
// Operations print nothing and never end the process.

#include <cstdint>

#include "base/exact_float.h"

namespace vtl {

inline constexpr std::uint32_t status_ok = 0;
inline constexpr std::uint32_t status_not_initialized = 123;
inline constexpr std::uint32_t status_knowledge_rejected = 125;
inline constexpr std::uint32_t status_minimum_learning_pending = 126;
inline constexpr std::uint32_t status_minimum_learning_done = 127;
// Blocks detection while stored; no operation of the engine stores it, so it
// only appears when a caller sets engine_status itself.
inline constexpr std::uint32_t status_detect_blocked = 128;
inline constexpr std::uint32_t status_self_test_failed = 129;

extern std::uint32_t engine_status;  // last status stored by an operation
extern std::uint8_t init_done;       // 1 once vtl_anomalydetection_init has run
extern std::uint32_t learn_count;    // signals learned since the last init
extern float sensitivity;            // 1.0 at process start

std::uint32_t vtl_anomalydetection_init();
std::uint32_t vtl_anomalydetection_set_sensitivity(float value);
float vtl_anomalydetection_get_sensitivity();
// signal: 3 floats, read only.
std::uint32_t vtl_anomalydetection_learn(const float* signal);
// Writes the similarity (0..100, or 255 when none was computed).
std::uint32_t vtl_anomalydetection_detect(const float* signal, std::uint8_t* similarity);
// knowledge: 72 floats, read only (see engine/knowledge_buffer.h).
std::uint32_t vtl_anomalydetection_knowledge(const float* knowledge);

// 0 when the platform's single-precision minimum behaves.
std::int32_t engine_self_test();
float min_of_two(float a, float b);

}  // namespace vtl
