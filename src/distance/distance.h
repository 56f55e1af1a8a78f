#pragma once
// The distance measures of the engine library: vector primitives, the Pearson
// correlation, the vector distances, the engine's selectable measure and matrix inversion.

#include "base/vector_primitives.h"
#include "distance/correlation.h"
#include "distance/matrix.h"
#include "distance/measure.h"
#include "distance/vector_distance.h"
