#include "conditioning/work_arrays.h"

#include "engine/model.h"
#include "transform/fir.h"

namespace vtl {

namespace {
float default_frame[kMaxFrameLength];
float default_spectrum[kMaxFrameLength];
float default_band_spectrum[kMaxFrameLength];
float default_taps[kFirTaps];
}  // namespace

float* frame_buffer = default_frame;
float* spectrum_buffer = default_spectrum;
float* band_spectrum = default_band_spectrum;
float* fir_taps = default_taps;
std::uint32_t frame_arrays_capacity = kMaxFrameLength;
std::uint32_t band_spectrum_capacity = kMaxFrameLength;

void set_frame_arrays(float* frame, float* spectrum, std::uint32_t capacity) {
  const bool own = frame != nullptr && spectrum != nullptr;
  frame_buffer = own ? frame : default_frame;
  spectrum_buffer = own ? spectrum : default_spectrum;
  frame_arrays_capacity = own ? capacity : kMaxFrameLength;
}

void set_band_spectrum_array(float* spectrum, std::uint32_t capacity) {
  band_spectrum = spectrum != nullptr ? spectrum : default_band_spectrum;
  band_spectrum_capacity = spectrum != nullptr ? capacity : kMaxFrameLength;
}

void set_fir_taps_array(float* taps) { fir_taps = taps != nullptr ? taps : default_taps; }

void set_frame_length(std::uint16_t samples) { frame_length = samples; }
void set_vector_length(std::uint16_t bins) { vector_length = bins; }

}  // namespace vtl
