// libFuzzer target: a state file of any length and content, read by one
// command that the last byte picks: get_version, learn, detect or
// set_sensitivity (one per run keeps the fuzzer fast). A file saved by learn
// must be 216 bytes long, or keep the tail it had.

#include <string>

#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static vtl::fuzz::Emulator emulator;
  emulator.write_file("Vantelo.dat", data, size);
  switch (size == 0 ? 0 : data[size - 1] % 4) {
    case 0:
      emulator.run({"vtl_anomalydetection_get_version"});
      break;
    case 1:
      if (emulator.run({"vtl_anomalydetection_learn", "--array", "0.3", "0.2", "9.8"}) == 0) {
        const std::size_t saved = emulator.read_file("Vantelo.dat").size();
        if (saved != (size > 216 ? size : 216)) __builtin_trap();
      }
      break;
    case 2:
      emulator.run({"vtl_anomalydetection_detect", "--array", "0.31", "-0.2", "9.79"});
      break;
    default:
      emulator.run({"vtl_anomalydetection_set_sensitivity", "2.5"});
      break;
  }
  return 0;
}
