#pragma once
// Signal transforms of the engine library: the radix-2 Fourier transform and
// the sinc-kernel FIR filters.

#include "transform/fft.h"
#include "transform/fir.h"
