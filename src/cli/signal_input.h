#pragma once
// Signal input of learn and detect: three values from the command line
// (--array), or a text file read three numbers at a time (--file, optionally
// limited by --begin and --end).

#include <cstdint>

#include "cli/messages.h"

namespace vtl {

// Fills input_buffer from the three arguments after --array (strtod narrowed to
// float). A wrong count prints its message and returns false.
bool read_array_values(int argc, char** argv);

// Counts the newline characters from the descriptor's position to its end, then
// rewinds it to the start. Counts past the largest 32-bit value stop there.
std::int32_t count_lines(int fd);

// Opens the file named by argv[3], applies the range options, prints the report
// while it learns or rates every signal of the range, and closes the file.
// Returns 0, or 1 after printing an error (the report then stays unclosed).
int read_signal_file(Command command, int argc, char** argv);

}  // namespace vtl
