// The trained model is never lost: the emulator under kill -9, full disks,
// failing standard output, closed descriptors, parallel invocations, a FIFO as
// its state file and pipes as signal files.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "cli/expected_text.h"

namespace vtl::test {
namespace {

namespace fs = std::filesystem;
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

void set_limit(int resource, long bytes) {
  const rlimit limit{static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
  if (bytes >= 0) ::setrlimit(resource, &limit);
}

const std::vector<std::string> kWorkFiles = {"Vantelo.dat",   "normal.csv", "mixed.csv",
                                             "knowledge.bin", "big.csv",    "report.out"};

class Dir {
 public:
  Dir() {
    std::string pattern = (fs::temp_directory_path() / "vantelo-fault-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = pattern;
  }
  ~Dir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
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
  // Whether the directory holds no other files than the work files.
  bool only_work_files() const {
    for (const auto& entry : fs::directory_iterator(path_)) {
      const std::string name = entry.path().filename();
      if (std::find(kWorkFiles.begin(), kWorkFiles.end(), name) == kWorkFiles.end()) return false;
    }
    return true;
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

// A directory with a model learned from the normal sample and the files the
// saving commands read.
void prepare_trained(const Dir& dir) {
  for (const char* name : {"normal.csv", "mixed.csv"}) {
    fs::copy_file(std::string(VTL_EXAMPLES_DIR) + "/" + name, dir / name,
                  fs::copy_options::overwrite_existing);
  }
  ASSERT_EQ(dir.run({kInit}).status, 0);
  ASSERT_EQ(dir.run({kLearn, "--file", "normal.csv"}).status, 0);
  // A valid knowledge file exported from another model, so the import saves.
  std::string knowledge(288, '\0');
  const float signature[15] = {8, 3, 1, 0, 0, 0, 100, 0, 0, 0, 1000000, 0, 10, 21, 1};
  const float head[3] = {40, 4, 1};
  std::memcpy(knowledge.data(), head, sizeof head);
  std::memcpy(knowledge.data() + 228, signature, sizeof signature);
  dir.write("knowledge.bin", knowledge);
  std::string big;
  for (int copy = 0; copy < 40; ++copy) big += dir.read("normal.csv");
  dir.write("big.csv", big);
}

const Command kLoadKnowledge = {kKnowledge, "--knowledge_path", "knowledge.bin"};

// Kills a run of `command` after the delay; the exit status (128 + 9 when the
// kill hit it).
int run_and_kill(const Dir& dir, const Command& command, Stdout out,
                 std::chrono::microseconds delay) {
  int out_fd;
  int err_fd;
  int in_fd;
  const pid_t pid = dir.start(Launch{command, out}, &out_fd, &err_fd, &in_fd);
  std::this_thread::sleep_for(delay);
  ::kill(pid, SIGKILL);
  ::close(err_fd);
  return Dir::wait_for(pid);
}

TEST(Faults, KillDuringEverySavingCommandLeavesTheOldOrTheNewState) {
  Dir dir;
  prepare_trained(dir);
  const std::string old_state = dir.read("Vantelo.dat");
  std::mt19937 random(20261123);
  int kills = 0;
  for (const Command& command :
       {Command{kSensitivity, "2.5"}, Command{kInit}, kLoadKnowledge,
        Command{kLearn, "--file", "big.csv"}, Command{kDetect, "--file", "big.csv"}}) {
    SCOPED_TRACE(command[0]);
    // The new state, and how long a whole run takes.
    dir.write("Vantelo.dat", old_state);
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(dir.run(Launch{command, Stdout::file}).status, 0);
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - started);
    const std::string new_state = dir.read("Vantelo.dat");
    ASSERT_NE(new_state, old_state);
    std::uniform_int_distribution<long> delay(0, whole.count());
    int kills_here = 0;
    bool saw_old = false;
    for (int attempt = 0; attempt < 1000 && kills_here < 110; ++attempt) {
      dir.write("Vantelo.dat", old_state);
      kills_here += run_and_kill(dir, command, Stdout::file,
                                 std::chrono::microseconds(delay(random))) == 128 + SIGKILL;
      const std::string state = dir.read("Vantelo.dat");
      ASSERT_TRUE(state == old_state || state == new_state)
          << "a torn state file of " << state.size() << " bytes after a kill";
      saw_old = saw_old || state == old_state;
    }
    EXPECT_EQ(kills_here, 110);
    EXPECT_TRUE(saw_old);
    kills += kills_here;
  }
  EXPECT_GE(kills, 500);
  // A later run leaves no temporary file behind, whatever a kill left.
  ASSERT_EQ(dir.run({kSensitivity, "1"}).status, 0);
  EXPECT_TRUE(dir.only_work_files());
}

TEST(Faults, KillWhileTheReportFailsNeverReplacesTheState) {
  Dir dir;
  prepare_trained(dir);
  const std::string old_state = dir.read("Vantelo.dat");
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    const std::chrono::microseconds delay(std::uniform_int_distribution<int>(0, 3000)(random));
    run_and_kill(dir, {kLearn, "--file", "big.csv"}, Stdout::dev_full, delay);
    ASSERT_EQ(dir.read("Vantelo.dat"), old_state);
  }
}

TEST(Faults, AFullDiskForTheStateLeavesItByteForByte) {
  Dir dir;
  prepare_trained(dir);
  const std::string old_state = dir.read("Vantelo.dat");
  const std::string write_error = "Error: could not write state file Vantelo.dat !\n";
  // Learn and detect print the report before they save; the others print none.
  for (const Command& command :
       {Command{kInit}, Command{kSensitivity, "3"}, kLoadKnowledge,
        Command{kLearn, "--array", "1", "2", "3"}, Command{kDetect, "--file", "mixed.csv"}}) {
    SCOPED_TRACE(command[0]);
    const Result result = dir.run(Launch{.args = command, .file_size_limit = 0});
    EXPECT_EQ(result.status, 1);
    if (command[0] == kLearn || command[0] == kDetect) {
      EXPECT_TRUE(result.out.starts_with("{\n") && result.out.ends_with(write_error)) << result.out;
    } else {
      EXPECT_EQ(result.out, write_error);
    }
    EXPECT_EQ(dir.read("Vantelo.dat"), old_state);
  }
  EXPECT_TRUE(dir.only_work_files());
}

TEST(Faults, AFailingStandardOutputLeavesTheStateAndSaysWhy) {
  Dir dir;
  prepare_trained(dir);
  const std::string old_state = dir.read("Vantelo.dat");
  struct Case {
    Stdout out;
    long limit;
    std::string reason;
  };
  for (const Case& c : {Case{Stdout::dev_full, -1, "No space left on device"},
                        Case{Stdout::broken_pipe, -1, "Broken pipe"},
                        Case{Stdout::closed, -1, "Bad file descriptor"},
                        // the report outgrows the limit, the state does not
                        Case{Stdout::file, 4096, "File too large"}}) {
    for (const Command& command :
         {Command{kLearn, "--file", "normal.csv"}, Command{kDetect, "--file", "big.csv"},
          Command{kSensitivity, "4"}, Command{kInit}, kLoadKnowledge}) {
      if (c.out == Stdout::file && (command.size() < 2 || command[1] != "--file"))
        continue;  // short reports fit
      SCOPED_TRACE(command[0] + " / " + c.reason);
      const Result result = dir.run(Launch{command, c.out, false, c.limit});
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.err, "Error: could not write to standard output (" + c.reason + ") !\n");
      EXPECT_EQ(dir.read("Vantelo.dat"), old_state);
    }
  }
  EXPECT_TRUE(dir.only_work_files());
}

// Runs each command in two trained directories (the state file followed by
// `tail`), plainly and as `varied` runs it: the two must give the same.
void expect_as_plain(const std::vector<Command>& commands,
                     const std::function<Result(const Dir&, const Command&)>& varied,
                     const std::string& tail = "") {
  Dir plain;
  Dir dir;
  for (const Dir* d : {&plain, &dir}) {
    prepare_trained(*d);
    d->write("Vantelo.dat", d->read("Vantelo.dat") + tail);
  }
  for (const Command& command : commands) {
    SCOPED_TRACE(command[0]);
    const Result expected = plain.run(command);
    ASSERT_EQ(expected.status, 0);
    const Result got = varied(dir, command);
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.out, expected.out);
    EXPECT_EQ(got.err, "");
    EXPECT_EQ(dir.read("Vantelo.dat"), plain.read("Vantelo.dat"));
    EXPECT_TRUE(dir.only_work_files());
  }
}

TEST(Faults, ClosedStandardInputAndErrorChangeNothing) {
  expect_as_plain({{kDetect, "--file", "mixed.csv"}}, [](const Dir& dir, const Command& command) {
    return dir.run(Launch{.args = command, .close_stdin_and_stderr = true});
  });
}

// Durable saves (VANTELO_SYNC) only add syncs, a kept tail included.
TEST(Faults, DurableSavesGiveWhatOrdinarySavesGive) {
  expect_as_plain(
      {{kInit},
       {kLearn, "--file", "normal.csv"},
       {kLearn, "--array", "1", "2", "3"},
       {kSensitivity, "2.5"},
       {kDetect, "--file", "mixed.csv"},
       kLoadKnowledge},
      [](const Dir& dir, const Command& command) {
        ::setenv("VANTELO_SYNC", "1", 1);
        const Result got = dir.run(command);
        ::unsetenv("VANTELO_SYNC");
        return got;
      },
      std::string(100, 'T'));
}

// Long files are learned and read on a second thread. Where no thread can be
// had (no address space for its stack), everything runs on the one thread.
TEST(Faults, WithoutASecondThreadLongFilesGiveTheSameResults) {
#ifdef VTL_EMULATOR_SANITIZED
  GTEST_SKIP() << "a sanitized emulator needs more address space than the limit leaves";
#endif
  expect_as_plain({{kLearn, "--file", "big.csv"}, {kDetect, "--file", "big.csv"}},
                  [](const Dir& dir, const Command& command) {
                    // less than one thread stack
                    return dir.run(Launch{.args = command, .address_space_limit = 6L << 20});
                  });
}

TEST(Faults, ParallelInvocationsBehaveAsIfRunOneAfterAnother) {
  Dir dir;
  ASSERT_EQ(dir.run({kInit}).status, 0);
  const auto in_parallel = [&](int rounds, int runs, const std::function<Command(int)>& command) {
    for (int round = 0; round < rounds; ++round) {
      std::vector<std::thread> threads;
      for (int i = 0; i < runs; ++i) {
        threads.emplace_back([&, i] { EXPECT_EQ(dir.run(command(i)).status, 0); });
      }
      for (std::thread& thread : threads) thread.join();
    }
  };
  in_parallel(10, 20, [](int i) {
    return Command{kLearn, "--array", std::to_string(i + 1), "2", "3"};
  });
  const Result version = dir.run({kGetVersion});
  EXPECT_NE(version.out.find("\"learning_summary\": {\"signals\": 200}"), std::string::npos)
      << version.out;
  // Learning beside sensitivity updates: neither effect is lost.
  in_parallel(3, 20, [](int i) {
    return i % 2 == 0 ? Command{kLearn, "--array", "4", "5", "6"} : Command{kSensitivity, "2"};
  });
  const Result after = dir.run({kGetVersion});
  EXPECT_NE(after.out.find("\"sensitivity\": 2.00"), std::string::npos) << after.out;
  EXPECT_NE(after.out.find("\"learning_summary\": {\"signals\": 230}"), std::string::npos)
      << after.out;
}

TEST(Faults, AFifoAsStateFileIsRefusedWithoutHanging) {
  Dir dir;
  ASSERT_EQ(::mkfifo((dir / "Vantelo.dat").c_str(), 0644), 0);
  struct Case {
    Command args;
    int status;
    std::string out_start;
  };
  for (const Case& c :
       {Case{{kLearn, "--array", "1", "2", "3"}, 1, kStateMissing},
        Case{{kSensitivity, "2"}, 1, kStateMissing},
        Case{{kInit}, 1, "Error: could not write state file Vantelo.dat !\n"},
        Case{{kGetVersion}, 0, report_head("id_version", kNullSensitivity, "null")}}) {
    SCOPED_TRACE(c.args[0]);
    const Result result = dir.run(Launch{.args = c.args, .time_limit = 10});
    EXPECT_EQ(result.status, c.status) << "128 + SIGALRM: the invocation hung on the FIFO";
    EXPECT_TRUE(result.out.starts_with(c.out_start)) << result.out;
  }
  struct stat info;
  ASSERT_EQ(::stat((dir / "Vantelo.dat").c_str(), &info), 0);
  EXPECT_TRUE(S_ISFIFO(info.st_mode));
}

TEST(Faults, APipeAsSignalFileGivesWhatTheSameBytesInAFileGive) {
  for (const Command& range : {Command{}, Command{"--begin", "3", "--end", "40"},
                               Command{"--end", "300", "--begin", "299"}}) {
    Dir from_file;
    Dir from_pipe;
    prepare_trained(from_file);
    prepare_trained(from_pipe);
    Command args = {kLearn, "--file", "normal.csv"};
    args.insert(args.end(), range.begin(), range.end());
    const Result expected = from_file.run(args);
    args[2] = "/dev/stdin";
    const std::string bytes = from_pipe.read("normal.csv");
    const Result piped = from_pipe.run(Launch{.args = args, .input = &bytes});
    EXPECT_EQ(piped.status, expected.status);
    std::string adjusted = piped.out;
    const std::string name_line = "\"input\": \"/dev/stdin\"";
    ASSERT_NE(adjusted.find(name_line), std::string::npos);
    adjusted.replace(adjusted.find(name_line), name_line.size(), "\"input\": \"normal.csv\"");
    EXPECT_EQ(adjusted, expected.out);
    EXPECT_EQ(from_pipe.read("Vantelo.dat"), from_file.read("Vantelo.dat"));
  }
  Dir dir;
  prepare_trained(dir);
  const std::string nothing;
  const Result empty =
      dir.run(Launch{.args = {kDetect, "--file", "/dev/stdin"}, .input = &nothing});
  EXPECT_EQ(empty.status, 1);
  EXPECT_EQ(empty.out, "Error: file is empty !\n");
}

TEST(Faults, ALinkedStateFileIsReplacedWhereItLivesAndKeepsItsMode) {
  Dir dir;
  prepare_trained(dir);
  fs::create_directory(dir / "models");
  fs::rename(dir / "Vantelo.dat", dir / "models/machine-7.dat");
  fs::create_symlink("models/machine-7.dat", dir / "Vantelo.dat");
  ::chmod((dir / "models/machine-7.dat").c_str(), 0640);
  const std::string before = dir.read("models/machine-7.dat");
  ASSERT_EQ(dir.run({kLearn, "--array", "1", "2", "3"}).status, 0);
  EXPECT_TRUE(fs::is_symlink(dir / "Vantelo.dat"));
  EXPECT_NE(dir.read("models/machine-7.dat"), before);
  struct stat info;
  ASSERT_EQ(::stat((dir / "models/machine-7.dat").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640u);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir / "models"), fs::directory_iterator{}), 1)
      << "a temporary file was left beside the model";
}

TEST(Faults, LearnKeepsBytesAfterTheStateAndInitDropsThem) {
  Dir dir;
  prepare_trained(dir);
  const std::string tail(1000, 'T');
  dir.write("Vantelo.dat", dir.read("Vantelo.dat") + tail);
  ASSERT_EQ(dir.run({kLearn, "--array", "1", "2", "3"}).status, 0);
  const std::string kept = dir.read("Vantelo.dat");
  ASSERT_EQ(kept.size(), 216 + tail.size());
  EXPECT_EQ(kept.substr(216), tail);
  ASSERT_EQ(dir.run({kSensitivity, "2"}).status, 0);
  EXPECT_EQ(dir.read("Vantelo.dat").size(), 216u);
}

}  // namespace
}  // namespace vtl::test
