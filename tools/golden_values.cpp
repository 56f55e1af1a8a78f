// Prints one line per family of library calls: a label and a hash of every
// result bit the calls produce, over fixed inputs chosen to reach the places
// where compilers, CPUs and maths libraries could differ (subnormals, NaN,
// signed zeros, the sines of the FIR kernels, the logarithms of the entropy,
// the angle of the distance). The lines are compared with
// tools/golden_values.txt by ctest and by scripts/build_matrix.sh, so that every
// compiler, optimisation level and instruction set gives the same bits.

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "conditioning/conditioning.h"
#include "distance/distance.h"
#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "engine/model.h"
#include "engine/staging.h"
#include "features/features.h"
#include "transform/transform.h"

namespace {

using namespace vtl;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// FNV-1a over the bit patterns of everything added.
class Digest {
 public:
  void add(std::uint32_t word) {
    for (int i = 0; i < 4; ++i) {
      hash_ ^= (word >> (8 * i)) & 0xFFu;
      hash_ *= 0x100000001B3ull;
    }
  }
  void add(float x) { add(std::bit_cast<std::uint32_t>(x)); }
  void add(const float* x, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) add(x[i]);
  }
  void add(const std::vector<float>& x) { add(x.data(), x.size()); }
  std::uint64_t value() const { return hash_; }

 private:
  std::uint64_t hash_ = 0xCBF29CE484222325ull;
};

void print(const char* label, const Digest& digest) {
  std::printf("%s %016llx\n", label, static_cast<unsigned long long>(digest.value()));
}

// A deterministic signal with a little of everything.
std::vector<float> samples(std::size_t n, std::uint32_t seed) {
  std::vector<float> x(n);
  std::uint32_t state = seed;
  for (std::size_t i = 0; i < n; ++i) {
    state = state * 1664525u + 1013904223u;
    const float noise = static_cast<float>(state >> 8) * 0x1p-24f - 0.5f;
    x[i] =
        2.0f * sinc(static_cast<float>(i) * 0.0625f) + noise + static_cast<float>(i % 7) * 0.125f;
  }
  return x;
}

const std::vector<std::vector<float>>& vectors() {
  static const std::vector<std::vector<float>> all = {
      {1, 0, 0},
      {0, 1, 0},
      {1, 2, 3},
      {2, 4, 6},
      {5.5f, -2.25f, 1000},
      {-5.5f, 2.25f, -1000},
      {0, 0, 0},
      {-0.0f, 0.0f, -0.0f},
      {1e-40f, -1e-40f, 3e-45f},
      {1e-38f, 2e-38f, -1e-39f},
      {kNaN, 1, 2},
      {kInf, -kInf, 1},
      {3.4e38f, -3.4e38f, 1},
      {0.3012f, 0.1987f, 9.81f},
      {0.2999f, 0.2011f, 9.8f},
      {1, 1, 1},
  };
  return all;
}

void distances() {
  Digest digest;
  float work[3];
  for (unsigned a = 0; a < 8; ++a) {
    for (unsigned b = 0; b < 8; ++b) {
      for (const auto& x : vectors()) {
        for (const auto& y : vectors()) {
          digest.add(measure_distance(1, static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b),
                                      x.data(), y.data(), work, 3));
        }
      }
    }
  }
  for (unsigned kind = 0; kind < 6; ++kind) {
    for (const auto& x : vectors()) {
      for (const auto& y : vectors()) {
        digest.add(vector_distance(static_cast<DistanceKind>(kind), x.data(), y.data(), work, 3));
      }
    }
  }
  print("distances", digest);
}

void angles() {
  // Cosines across [-1, 1] reach the angle measure's acos directly.
  Digest digest;
  float work[3];
  for (int i = -2000; i <= 2000; ++i) {
    const float c = static_cast<float>(i) / 2000.0f;
    const float x[3] = {1, 0, 0};
    const float y[3] = {c, 1 - c * c, 0.0f};
    digest.add(measure_distance(0, 4, 1, x, y, work, 3));
  }
  print("angles", digest);
}

void fir() {
  Digest digest;
  std::vector<float> taps(65);
  const float cutoffs[][3] = {{100, 25, 40},       {2, 0x1.a000fap-1f, 0.9f}, {100, 10, 30},
                              {48000, 1000, 8000}, {1, 0.1f, 0.4f},           {0, 10, 20},
                              {100, -5, 60},       {100, 1e-30f, 1e-20f}};
  for (const auto& c : cutoffs) {
    for (unsigned type = 0; type < 5; ++type) {
      for (std::uint16_t ntaps : {65, 64, 7, 1}) {
        fir_design(taps.data(), ntaps, static_cast<FilterType>(type), c[0], c[1], c[2]);
        digest.add(taps.data(), ntaps);
      }
    }
  }
  for (float x = -40.0f; x <= 40.0f; x += 0.01171875f) digest.add(sinc(x));
  const std::vector<float> src = samples(500, 7);
  for (unsigned type = 0; type < 4; ++type) {
    std::vector<float> dst(500, 0.0f);
    fir_filter(src.data(), dst.data(), taps.data(), 500, static_cast<FilterType>(type), 100, 12,
               31);
    digest.add(dst);
  }
  print("fir", digest);
}

void spectra_and_features() {
  Digest spectra;
  Digest features;
  for (std::uint16_t n : {2, 8, 64, 1024, 4096}) {
    std::vector<float> x = samples(n, n);
    std::vector<float> work(n);
    std::vector<float> amplitudes(n);
    amplitude_spectrum(x.data(), work.data(), amplitudes.data(), n);
    spectra.add(amplitudes.data(), n / 2);
    std::vector<float> re = x;
    std::vector<float> im(n, 0.0f);
    fft_in_place(re.data(), im.data(), n);
    spectra.add(re);
    spectra.add(im);

    std::vector<float> matrix(27, -1.0f);
    std::vector<std::uint8_t> slots(27);
    for (unsigned k = 0; k < 27; ++k) slots[k] = static_cast<std::uint8_t>(k);
    std::vector<float> sorted(n);
    std::vector<float> scratch(n);
    extract_features(x.data(), matrix.data(), slots.data(), sorted.data(), 0, 1, n, work.data(),
                     scratch.data(), n, 27, 0);
    extract_features(x.data(), matrix.data(), slots.data(), sorted.data(), 0, 1, n, work.data(),
                     scratch.data(), n, 27, 1);
    features.add(matrix);
    features.add(feature_entropy(sorted.data(), n));
  }
  // Entropy over many small sorted buffers: logarithms of many ratios.
  for (std::uint16_t n = 1; n < 300; ++n) {
    std::vector<float> x(n);
    for (std::uint16_t i = 0; i < n; ++i) x[i] = static_cast<float>(i / 3);
    features.add(feature_entropy(x.data(), n));
  }
  print("spectra", spectra);
  print("features", features);
}

void conditioning() {
  Digest digest;
  const std::vector<float> src = samples(4096, 3);
  for (std::uint16_t mode = 0; mode < 6; ++mode) {
    for (std::uint16_t n_out : {1, 7, 8, 9, 16, 17, 256, 4095}) {
      std::vector<float> dst(4096, 0.25f);
      resample_buffer(src.data(), 4096, dst.data(), 0, n_out, mode);
      digest.add(dst);
    }
  }
  const float zeros[] = {-0.0f, 0.0f, -0.0f, 0.0f};
  float out[4] = {9, 9, 9, 9};
  resample_buffer(zeros, 4, out, 0, 2, RESAMPLE_BIN_MAX);
  digest.add(out, 4);
  reduce_max(zeros, 4, out, 3);
  digest.add(out, 4);

  float work[4] = {0, 0, 0, 0};
  std::vector<float> destination(64, 0.0f);
  const float bands[][3] = {{100, 50, 0}, {100, 20, 0}, {100, 50, 10}, {100, 30, 10}};
  for (const auto& b : bands) {
    filtered_norm(src.data(), 40, work, destination.data(), b[0], b[1], b[2]);
    filtered_samples(src.data(), 40, work, destination.data() + 1, b[0], b[1], b[2]);
    filtered_first_sample(src.data(), work, destination.data() + 41, b[0], b[1], b[2]);
    digest.add(destination);
  }
  set_frame_length(64);
  set_vector_length(32);
  std::vector<float> accumulator(32, 0.0f);
  std::vector<float> peaks(20, 0.0f);
  band_peak_accumulated(src.data(), 20, accumulator.data(), peaks.data(), 100, 40, 5);
  band_peak_per_frame(src.data(), 20, accumulator.data(), peaks.data(), 100, 30, 0);
  frame_band_peak(src.data(), peaks.data() + 19, 100, 45, 2);
  digest.add(accumulator);
  digest.add(peaks);
  use_library_work_arrays();
  print("conditioning", digest);
}

void matrices() {
  Digest digest;
  for (std::uint16_t n : {1, 2, 4, 8, 16}) {
    std::vector<float> a = samples(static_cast<std::size_t>(n) * n, n + 11u);
    for (std::uint16_t i = 0; i < n; ++i) a[static_cast<std::size_t>(i) * n + i] += 4.0f;
    std::vector<std::uint16_t> pivot(n);
    digest.add(static_cast<std::uint32_t>(matrix_invert(a.data(), pivot.data(), n)));
    digest.add(a);
  }
  print("matrices", digest);
}

void engine() {
  // Learning and scoring of the engine over all selector pairs, with odd values.
  Digest digest;
  const std::vector<float> x = samples(3 * 400, 99);
  for (unsigned a = 0; a < 6; ++a) {
    for (unsigned b = 0; b < 6; ++b) {
      vtl_anomalydetection_init();
      measure_primary = static_cast<std::uint8_t>(a);
      measure_secondary = static_cast<std::uint8_t>(b);
      for (std::size_t s = 0; s < 400; ++s) {
        float signal[3] = {x[3 * s], x[3 * s + 1], 9.8f + x[3 * s + 2] * 0.01f};
        if (s % 37 == 5) signal[s % 3] = 1e-40f;
        if (s % 53 == 7) signal[1] = -0.0f;
        vtl_anomalydetection_learn(signal);
      }
      float knowledge[kKnowledgeValues];
      export_knowledge_buffer(knowledge);
      digest.add(knowledge, kKnowledgeValues);
      for (const auto& v : vectors()) {
        std::uint8_t similarity = 0;
        vtl_anomalydetection_detect(v.data(), &similarity);
        digest.add(static_cast<std::uint32_t>(similarity));
      }
    }
  }
  print("engine", digest);
}

}  // namespace

int main() {
  distances();
  angles();
  fir();
  spectra_and_features();
  conditioning();
  matrices();
  engine();
  return 0;
}
