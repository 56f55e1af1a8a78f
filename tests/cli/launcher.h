#pragma once
// Runs the real emulator in a fresh temporary directory, with its standard
// output piped, failing or closed, under resource limits and a time limit.

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace vtl::test {

using Command = std::vector<std::string>;

// What the child's standard output is.
enum class Stdout { pipe, dev_full, closed, broken_pipe, file };

struct Launch {
  Command args;
  Stdout out = Stdout::pipe;
  bool close_stdin_and_stderr = false;
  long file_size_limit = -1;           // RLIMIT_FSIZE in bytes, SIGXFSZ ignored
  long address_space_limit = -1;       // RLIMIT_AS in bytes
  const std::string* input = nullptr;  // fed to standard input through a pipe
  unsigned time_limit = 200;           // seconds, then SIGALRM ends the child
};

struct Result {
  int status = -1;  // exit status, or 128 + signal
  std::string out;
  std::string err;
};

inline void set_limit(int resource, long bytes) {
  const rlimit limit{static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
  if (bytes >= 0) ::setrlimit(resource, &limit);
}

// A temporary directory, removed with what it holds, that runs the emulator.
class Dir {
 public:
  Dir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vantelo-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = pattern;
  }
  Dir(const Dir&) = delete;
  Dir& operator=(const Dir&) = delete;
  ~Dir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  std::string read(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(*this / name, std::ios::binary).rdbuf();
    return content.str();
  }
  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream(*this / name, std::ios::binary | std::ios::trunc) << bytes;
  }
  // Starts the emulator here; sets the read ends of its standard output (-1
  // unless piped) and error and the write end of its standard input (-1 unless
  // launch.input). Tests start children from several threads at once, so the
  // child makes only async-signal-safe calls (a lock another thread held in
  // malloc at the fork would hang it): the argument vector is built before the
  // fork, and the pipes are close-on-exec so that no sibling keeps them open.
  pid_t start(const Launch& launch, int* out_read, int* err_read, int* in_write) const {
    *out_read = *err_read = *in_write = -1;
    std::vector<char*> argv{const_cast<char*>(VTL_EMULATOR_PATH)};
    for (const std::string& arg : launch.args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    int out_pipe[2] = {-1, -1};
    int err_pipe[2] = {-1, -1};
    int in_pipe[2] = {-1, -1};
    // A descriptor left open when a pipe cannot be made fails nothing but this test.
    if (((launch.out == Stdout::pipe || launch.out == Stdout::broken_pipe) &&
         ::pipe2(out_pipe, O_CLOEXEC) != 0) ||
        ::pipe2(err_pipe, O_CLOEXEC) != 0 ||
        (launch.input != nullptr && ::pipe2(in_pipe, O_CLOEXEC) != 0)) {
      return -1;
    }
    if (launch.out == Stdout::broken_pipe) {
      // No reader from the start: closed after the fork, a busy parent could
      // still hold the read end when the child writes its report.
      ::close(out_pipe[0]);
      out_pipe[0] = -1;
    }
    const pid_t pid = ::fork();
    if (pid == 0) {
      if (::chdir(path_.c_str()) != 0) ::_exit(120);
      if (out_pipe[1] >= 0) ::dup2(out_pipe[1], 1);
      if (launch.out == Stdout::dev_full) ::dup2(::open("/dev/full", O_WRONLY), 1);
      if (launch.out == Stdout::closed) ::close(1);
      if (launch.out == Stdout::file)
        ::dup2(::open("report.out", O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
      ::dup2(err_pipe[1], 2);
      if (in_pipe[0] >= 0) ::dup2(in_pipe[0], 0);
      if (launch.close_stdin_and_stderr) ::close(0), ::close(2);
      if (launch.file_size_limit >= 0) ::signal(SIGXFSZ, SIG_IGN);
      set_limit(RLIMIT_FSIZE, launch.file_size_limit);
      set_limit(RLIMIT_AS, launch.address_space_limit);
      ::alarm(launch.time_limit);  // kept across exec
      for (int fd = 3; fd < 256; ++fd) ::close(fd);
      ::execv(VTL_EMULATOR_PATH, argv.data());
      ::_exit(121);
    }
    for (const int fd : {out_pipe[1], err_pipe[1], in_pipe[0]}) {
      if (fd >= 0) ::close(fd);
    }
    *out_read = out_pipe[0];
    *err_read = err_pipe[0];
    *in_write = in_pipe[1];
    return pid;
  }

  Result run(const Launch& launch) const {
    int out_fd;
    int err_fd;
    int in_fd;
    const pid_t pid = start(launch, &out_fd, &err_fd, &in_fd);
    Result result;
    std::thread feed([&] {
      for (std::size_t done = 0; in_fd >= 0 && done < launch.input->size();) {
        const ssize_t put =
            ::write(in_fd, launch.input->data() + done, launch.input->size() - done);
        if (put <= 0) break;
        done += static_cast<std::size_t>(put);
      }
      if (in_fd >= 0) ::close(in_fd);
    });
    std::thread drain_err([&] { result.err = drain(err_fd); });
    if (out_fd >= 0) result.out = drain(out_fd);
    feed.join();
    drain_err.join();
    result.status = wait_for(pid);
    return result;
  }
  Result run(const Command& args) const { return run(Launch{args}); }

  static std::string drain(int fd) {
    std::string text;
    char block[65536];
    for (ssize_t got; (got = ::read(fd, block, sizeof block)) > 0;) text.append(block, got);
    ::close(fd);
    return text;
  }
  static int wait_for(pid_t pid) {
    if (pid < 0) return -1;  // never reap another thread's child
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  std::string path_;
};

}  // namespace vtl::test
