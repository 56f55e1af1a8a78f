#pragma once
// The signal-conditioning routines of the engine library.

#include "conditioning/band_filter.h"
#include "conditioning/band_peak.h"
#include "conditioning/resample.h"
#include "conditioning/work_arrays.h"
