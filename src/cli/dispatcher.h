#pragma once
// The program's entry: one invocation performs exactly one engine call, named
// by the first argument, and carries the state between invocations in the
// state file of the working directory.

namespace vtl {

// Makes the process safe to run: closed standard descriptors are reopened on
// /dev/null (a closed standard output counts as failed), and a closed pipe on
// standard output becomes an error to report instead of a signal.
void prepare_process();

// Runs the command of argv[1]; returns the exit status (0 success, 1 error).
// Everything is printed on standard output; only when that fails does one line
// go to standard error, and the state file is then left as it was.
int run_emulator(int argc, char** argv);

}  // namespace vtl
