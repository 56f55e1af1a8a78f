#pragma once
// The signal-conditioning routines of the engine library: resampling and offset
// removal, the spectral band peak, band-filtered values and their work arrays.

#include "conditioning/band_filter.h"
#include "conditioning/band_peak.h"
#include "conditioning/resample.h"
#include "conditioning/work_arrays.h"
