#pragma once
// Number scanning for signal files, byte for byte as glibc's fscanf("%f") reads
// the same stream: the same values (correctly rounded, as strtof), the same
// bytes consumed on success and on failure, the same end-of-input indicator.

#include "cli/byte_reader.h"

namespace vtl {

// Like fscanf(stream, "%f", value): skips white space, then reads the longest
// prefix that glibc's %f accepts. Returns 1 and stores the value, 0 when the
// text is not a number (value untouched), or -1 (EOF) when the input ends or
// fails before anything but white space. Assumes round-to-nearest.
int scan_float(ByteReader& in, float* value);

// One signal: three numbers, each followed by one separator byte, whatever it
// is. False as soon as a number cannot be read; out then holds the values read
// before it.
bool read_signal_values(ByteReader& in, float out[3]);

}  // namespace vtl
