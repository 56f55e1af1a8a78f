#pragma once
// The feature-extraction routines of the engine library: buffer statistics, the
// merge sort, magnitude spectra, centroid distances and the feature matrix.

#include "features/buffer_features.h"
#include "features/centroid.h"
#include "features/extract.h"
#include "features/magnitudes.h"
#include "features/merge_sort.h"
