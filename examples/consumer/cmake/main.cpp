// Learns the signals of one file and rates those of another with the engine
// library's C++ interface, printing one similarity a line:
//
//   vantelo_consumer NORMAL.csv MIXED.csv [SENSITIVITY]
//
// The model travels through a state image between learning and detection, as
// it does between two runs of the emulator.

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "engine/interface.h"
#include "persist/state_file.h"
#include "vantelo/vantelo.h"  // the C names live beside the C++ ones

namespace {

using Signal = std::array<float, 3>;

// Every number read with fscanf("%f") and one character after it consumed, as
// the emulator reads its signal files.
std::vector<Signal> read_signals(const char* path) {
  std::vector<Signal> signals;
  std::FILE* file = std::fopen(path, "r");
  if (file == nullptr) return signals;
  Signal signal{};
  for (;;) {
    int read = 0;
    while (read < 3 && std::fscanf(file, "%f", &signal[read]) == 1) {
      std::fgetc(file);
      ++read;
    }
    if (read < 3) break;
    signals.push_back(signal);
  }
  std::fclose(file);
  return signals;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) {
    std::fprintf(stderr, "usage: %s NORMAL.csv MIXED.csv [SENSITIVITY]\n", argv[0]);
    return 2;
  }
  const std::vector<Signal> normal = read_signals(argv[1]);
  const std::vector<Signal> mixed = read_signals(argv[2]);
  const float sensitivity = argc == 4 ? static_cast<float>(std::strtod(argv[3], nullptr)) : 1.0f;

  if (vtl::vtl_anomalydetection_init() != vtl::status_ok) return 1;
  for (const Signal& signal : normal) vtl::vtl_anomalydetection_learn(signal.data());

  std::uint8_t image[vtl::kStateFileSize];
  vtl::ReportTotals totals;
  totals.learned = static_cast<std::int32_t>(normal.size());
  vtl::encode_state(totals, image);
  vtl::vtl_anomalydetection_init();                // forget the model ...
  vtl::decode_state(image, sizeof image, totals);  // ... and take it back

  vtl::vtl_anomalydetection_set_sensitivity(sensitivity);
  for (const Signal& signal : mixed) {
    std::uint8_t similarity = 0;
    if (vtl::vtl_anomalydetection_detect(signal.data(), &similarity) != status_ok) {
      std::fprintf(stderr, "detection needs at least 10 learned signals\n");
      return 1;
    }
    std::printf("%u\n", static_cast<unsigned>(similarity));
  }
  return 0;
}
