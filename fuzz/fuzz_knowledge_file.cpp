// libFuzzer target: a knowledge file of any length and content, imported over
// a trained model and then, when accepted, learned into or rated against.

#include <string>

#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static vtl::fuzz::Emulator emulator;
  static const std::string state = emulator.trained_state();
  emulator.write_file("Vantelo.dat", state);
  emulator.write_file("k.bin", data, size);
  const int imported =
      emulator.run({"vtl_anomalydetection_knowledge", "--knowledge_path", "k.bin"});
  // A rejected or unreadable knowledge never changes the state file.
  if (imported != 0 && emulator.read_file("Vantelo.dat") != state) __builtin_trap();
  // Then learn into the imported model or rate against it, as the size picks.
  if (imported == 0) {
    if (size % 2 == 0) {
      emulator.run({"vtl_anomalydetection_learn", "--array", "0.3", "0.2", "9.8"});
    } else {
      emulator.run({"vtl_anomalydetection_detect", "--array", "1", "2", "3"});
    }
  }
  return 0;
}
