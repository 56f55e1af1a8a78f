#pragma once
// End-to-end test harness: runs the real emulator in a fresh temporary
// directory and checks the rules every invocation must keep: nothing on
// standard error, a failing invocation leaves the state file byte for byte as
// it was, and a successful report is valid JSON.

#include <optional>
#include <string>
#include <vector>

#include "cli/launcher.h"

namespace vtl::test {

// What a step expects of the state file afterwards.
enum class StateAfter { any, unchanged, changed, absent, present };

struct Step {
  Command args;  // after the program name
  std::string expected_out;
  int expected_status = 0;
  StateAfter state = StateAfter::any;
};

class Session : public Dir {
 public:
  // Runs the emulator with these arguments and checks the rules. Successful
  // runs must print valid JSON unless json is false (a file name with a quote
  // is printed unescaped).
  Result run(const Command& args, bool json = true) const;
  // Runs each step and compares output, status and state file.
  void run_steps(const std::vector<Step>& steps) const;

  std::optional<std::string> read_file(const std::string& name) const;
  std::optional<std::string> state() const { return read_file("Vantelo.dat"); }
  void write_state(const std::string& bytes) const { write("Vantelo.dat", bytes); }
};

// A minimal JSON well-formedness check (objects, arrays, strings, numbers,
// true/false/null); returns an empty string or a description of the fault.
std::string json_error(const std::string& text);

}  // namespace vtl::test
