#pragma once
// Similarity of a signal to the model, 0 to 100: each merged cluster (count
// above 1) votes with 90 x radius / (factor x distance), clamped to 0..100;
// the best vote wins.

namespace vtl {

// signal: 3 floats, read only; factor: 0.29 x sensitivity.
float score_similarity(const float* signal, float factor);

// The largest distance d at which a cluster of this radius votes 100 with the
// scale g = 90 x (1 / factor), that is g x (radius / d) >= 100, for radius
// above 0 and 0 < g < infinity: every distance from 0 up to it votes 100, and
// every larger one less. Scoring compares bounds of distances with it.
float reach_of_100(float radius, float g);

}  // namespace vtl
