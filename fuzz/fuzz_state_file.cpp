// libFuzzer target: a state file of any length and content, read by
// get_version, then learned into, rated against, and given a new sensitivity.
// A saved file must always be 216 bytes, or keep the tail it had.

#include <string>

#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static vtl::fuzz::Emulator emulator;
  emulator.write_file("Vantelo.dat", data, size);
  emulator.run({"vtl_anomalydetection_get_version"});
  if (emulator.run({"vtl_anomalydetection_learn", "--array", "0.3", "0.2", "9.8"}) == 0) {
    const std::size_t saved = emulator.read_file("Vantelo.dat").size();
    if (saved != (size > 216 ? size : 216)) __builtin_trap();
  }
  emulator.run({"vtl_anomalydetection_detect", "--array", "0.31", "-0.2", "9.79"});
  emulator.run({"vtl_anomalydetection_set_sensitivity", "2.5"});
  return 0;
}
