// libFuzzer target: the argument vector. The input is split at NUL bytes into
// up to 10 arguments; the working directory holds a trained state file, a
// signal file "s.csv" and a knowledge file "k.bin". Arguments that would reach
// outside the directory (absolute paths, "..") name the signal file instead, so
// that no run reads a device or waits on a terminal.

#include <string>
#include <vector>

#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static vtl::fuzz::Emulator emulator;
  static const std::string state = emulator.trained_state();
  static const bool files_made = [] {
    emulator.write_file("s.csv",
                        "0.31,0.2,9.8\n0.29,0.21,9.81\n5,4,3\n1e-40,nan,inf\n0x1p-3,2,3\n");
    std::string knowledge(288, '\0');
    const float signature[15] = {8, 3, 1, 0, 0, 0, 100, 0, 0, 0, 1000000, 0, 10, 21, 1};
    std::memcpy(knowledge.data() + 228, signature, sizeof signature);
    emulator.write_file("k.bin", knowledge);
    return true;
  }();
  static_cast<void>(files_made);

  std::vector<std::string> args;
  std::string current;
  for (std::size_t i = 0; i < size && args.size() < 10; ++i) {
    if (data[i] == 0) {
      args.push_back(current);
      current.clear();
    } else {
      current += static_cast<char>(data[i]);
    }
  }
  if (args.size() < 10) args.push_back(current);
  for (std::string& arg : args) {
    if (!arg.empty() && (arg[0] == '/' || arg.find("..") != std::string::npos)) arg = "s.csv";
  }
  emulator.write_file("Vantelo.dat", state);
  emulator.run(args);
  return 0;
}
