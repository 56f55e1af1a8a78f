// Calling the engine library's feature routines from C++: the amplitude
// spectrum of a noisy sine, then a few time-domain and all spectral features
// of the same buffer written into a one-column feature matrix.

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <random>

#include "features/features.h"

int main() {
  constexpr std::uint16_t n = 1024;
  // 1.5 * sin with 50 whole periods in the frame, plus noise with a fixed seed.
  std::array<float, n> signal;
  std::mt19937 rng(2024);
  std::normal_distribution<float> noise(0.0f, 0.2f);
  for (std::uint16_t t = 0; t < n; ++t) {
    const double phase = 2.0 * std::numbers::pi * 50.0 * t / n;
    signal[t] = 1.5f * static_cast<float>(std::sin(phase)) + noise(rng);
  }

  // The spectrum lands in the first n/2 places of amplitudes; place k is DFT bin k + 1.
  std::array<float, n> work;
  std::array<float, n> amplitudes;
  vtl::amplitude_spectrum(signal.data(), work.data(), amplitudes.data(), n);

  std::printf("Strongest bins of the amplitude spectrum:\n");
  std::array<bool, n / 2> shown{};
  for (int rank = 0; rank < 3; ++rank) {
    int best = -1;
    for (int k = 0; k < n / 2; ++k) {
      if (!shown[k] && (best < 0 || amplitudes[k] > amplitudes[best])) best = k;
    }
    shown[best] = true;
    std::printf("  bin %4d  amplitude %.6f\n", best + 1, amplitudes[best]);
  }

  // Slot table: the feature with id k goes to matrix row slots[k]; 255 leaves it out.
  constexpr std::uint16_t rows = 8;
  std::array<std::uint8_t, vtl::kFeatureCount> slots;
  slots.fill(255);
  slots[vtl::FEAT_MEAN] = 0;
  slots[vtl::FEAT_RMS] = 1;
  slots[vtl::FEAT_MEDIAN] = 2;
  slots[vtl::FEAT_ZERO_CROSSINGS] = 3;
  slots[vtl::FEAT_SPECTRAL_PEAK] = 4;
  slots[vtl::FEAT_SPECTRAL_PEAK_BIN] = 5;
  slots[vtl::FEAT_SPECTRAL_SUM] = 6;
  slots[vtl::FEAT_SPECTRAL_ENERGY] = 7;

  // One column (one signal axis); the time-domain and the spectral features
  // take one call each. The sort borrows amplitudes as its scratch.
  std::array<float, rows> matrix{};
  std::array<float, n> sorted;
  const std::uint8_t column = 0, columns = 1;
  vtl::extract_features(signal.data(), matrix.data(), slots.data(), sorted.data(), column, columns,
                        n, work.data(), amplitudes.data(), n, rows, 0);
  vtl::extract_features(signal.data(), matrix.data(), slots.data(), sorted.data(), column, columns,
                        n, work.data(), amplitudes.data(), n, rows, 1);

  // The peak place is an index into the spectrum: place k is DFT bin k + 1.
  const char* names[rows] = {"mean",          "rms",        "median",       "zero crossings",
                             "spectral peak", "peak place", "spectral sum", "spectral energy"};
  std::printf("Feature matrix, column %u:\n", static_cast<unsigned>(column));
  for (unsigned r = 0; r < rows; ++r) {
    std::printf("  row %u  %-16s %.6f\n", r, names[r], matrix[r]);
  }
  return 0;
}
