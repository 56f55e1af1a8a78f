#pragma once
// Similarity of a signal to the model, 0 to 100: each merged cluster (count
// above 1) votes with 90 x radius / (factor x distance), clamped to 0..100;
// the best vote wins.

namespace vtl {

// signal: 3 floats, read only; factor: 0.29 x sensitivity.
float score_similarity(const float* signal, float factor);

}  // namespace vtl
