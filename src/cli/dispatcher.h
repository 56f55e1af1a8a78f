#pragma once
// The program's entry: one invocation performs exactly one engine call, named
// by the first argument, and carries the state between invocations in the
// state file of the working directory.

namespace vtl {

// Runs the command of argv[1]; returns the exit status (0 success, 1 error).
// Everything is printed on standard output.
int run_emulator(int argc, char** argv);

}  // namespace vtl
