#pragma once
// Runs the emulator's front end in-process, as often as a fuzzer asks: in a
// private working directory under /dev/shm (or the temporary directory), with
// the report going to /dev/null and every process-wide variable of the front
// end and the engine back at its process-start value before each run.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "cli/dispatcher.h"
#include "cli/front_state.h"
#include "cli/output.h"
#include "engine/snapshot.h"

namespace vtl::fuzz {

class Emulator {
 public:
  Emulator() {
    const char* base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string pattern = std::string(base) + "/vantelo-fuzz-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr || chdir(pattern.c_str()) != 0) std::abort();
    out().redirect(open("/dev/null", O_WRONLY));
  }

  void write_file(const char* name, const std::uint8_t* data, std::size_t size) const {
    unlink(name);
    const int fd = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) std::abort();
    if (size > 0 && write(fd, data, size) != static_cast<ssize_t>(size)) std::abort();
    close(fd);
  }
  void write_file(const char* name, const std::string& bytes) const {
    write_file(name, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::string read_file(const char* name) const {
    std::string bytes;
    if (FILE* file = std::fopen(name, "rb")) {
      char block[4096];
      for (std::size_t got; (got = std::fread(block, 1, sizeof block, file)) > 0;)
        bytes.append(block, got);
      std::fclose(file);
    }
    return bytes;
  }

  // One invocation with these arguments after the program name; its exit status.
  int run(const std::vector<std::string>& args) const {
    reset_front_state();
    restore_engine(EngineSnapshot{});
    out().reset();
    std::vector<char*> argv{const_cast<char*>("vantelo_emulator")};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    const int status = run_emulator(static_cast<int>(args.size()) + 1, argv.data());
    if (status != 0 && status != 1) __builtin_trap();
    return status;
  }
  int run(std::initializer_list<const char*> args) const {
    return run(std::vector<std::string>(args.begin(), args.end()));
  }

  // A state file with a trained model, made once by the emulator itself.
  const std::string& trained_state() {
    if (trained_.empty()) {
      std::string signals;
      char line[64];
      for (int t = 0; t < 120; ++t) {
        std::snprintf(line, sizeof line, "%.4f,%.4f,%.4f\n", 0.3 + 0.01 * (t % 7),
                      0.2 + 0.013 * (t % 5), 9.81 + 0.002 * (t % 11));
        signals += line;
      }
      write_file("train.csv", signals);
      run({"vtl_anomalydetection_init"});
      run({"vtl_anomalydetection_learn", "--file", "train.csv"});
      trained_ = read_file("Vantelo.dat");
      if (trained_.size() != 216) std::abort();
    }
    return trained_;
  }

 private:
  std::string trained_;
};

}  // namespace vtl::fuzz
