// libFuzzer target: any state file followed by any signals, learned and rated,
// and any knowledge buffer. The engine must never read or write outside its
// tables, whatever the loaded slot numbers, counts and floats are.
// Build: cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DVTL_BUILD_FUZZ=ON
//        cmake --build build-fuzz --target fuzz_engine && build-fuzz/fuzz/fuzz_engine

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "persist/state_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vtl;
  const std::size_t state_length = size < kStateFileSize ? size : kStateFileSize;
  ReportTotals totals;
  decode_state(data, state_length, totals);
  engine_status = 0;
  data += state_length;
  size -= state_length;

  // The first byte picks what the rest is: signals, or a knowledge then signals.
  if (size > 0 && (data[0] & 1) != 0 && size > 1 + sizeof(float) * kKnowledgeValues) {
    float knowledge[kKnowledgeValues];
    std::memcpy(knowledge, data + 1, sizeof knowledge);
    vtl_anomalydetection_knowledge(knowledge);
    data += 1 + sizeof knowledge;
    size -= 1 + sizeof knowledge;
  }
  float signal[3];
  for (std::size_t k = 0; size >= sizeof signal;
       ++k, data += sizeof signal, size -= sizeof signal) {
    std::memcpy(signal, data, sizeof signal);
    std::uint8_t similarity = 0;
    if (k % 3 == 2) {
      vtl_anomalydetection_detect(signal, &similarity);
      if (similarity > 100 && similarity != 255) __builtin_trap();
    } else {
      vtl_anomalydetection_learn(signal);
    }
  }
  float exported[kKnowledgeValues];
  export_knowledge_buffer(exported);
  return 0;
}
