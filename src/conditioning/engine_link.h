#pragma once
// The one place where signal conditioning reaches up into the engine. These
// routines belong to the engine library and work on its globals: they read the
// frame and vector lengths of the model (frame_length, vector_length), pass
// values through the engine's one-value scratch (value_scratch), and write
// results with the engine's staging routines (copy_value, reduce_max, which uses
// find_min). Nothing else of the engine is used here.

#include "engine/model.h"    // IWYU pragma: export
#include "engine/staging.h"  // IWYU pragma: export
