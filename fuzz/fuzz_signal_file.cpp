// libFuzzer target: a signal file. The first byte picks the command and the
// range form, the next two the --begin and --end values; the rest is the file,
// learned or rated against a trained model.

#include <string>

#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static vtl::fuzz::Emulator emulator;
  static const std::string state = emulator.trained_state();
  if (size < 3) return 0;
  const std::uint8_t form = data[0];
  const std::string begin = std::to_string(data[1] % 16);
  const std::string end = std::to_string(data[2] % 32);
  emulator.write_file("s.csv", data + 3, size - 3);
  emulator.write_file("Vantelo.dat", state);
  const char* command =
      (form & 1) != 0 ? "vtl_anomalydetection_detect" : "vtl_anomalydetection_learn";
  switch ((form >> 1) % 4) {
    case 0:
      emulator.run({command, "--file", "s.csv"});
      break;
    case 1:
      emulator.run({command, "--file", "s.csv", "--begin", begin.c_str(), "--end", end.c_str()});
      break;
    case 2:
      emulator.run({command, "--file", "s.csv", "--end", end.c_str(), "--begin", begin.c_str()});
      break;
    default:
      emulator.run({command, "--file", "s.csv", "--begin", begin.c_str(), "--begin", end.c_str()});
      break;
  }
  return 0;
}
