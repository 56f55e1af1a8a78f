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

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "cli/expected_text.h"

namespace vtl::test {
namespace {

namespace fs = std::filesystem;

const std::string kExamples = VTL_EXAMPLES_DIR;

// What the child's standard output is.
enum class Stdout { pipe, dev_full, closed, broken_pipe, file };

struct Launch {
  std::vector<std::string> args;
  Stdout out = Stdout::pipe;
  bool close_stdin = false;
  bool close_stderr = false;
  long file_size_limit = -1;      // RLIMIT_FSIZE in bytes, SIGXFSZ ignored
  long address_space_limit = -1;  // RLIMIT_AS in bytes
  int stdin_fd = -1;              // a descriptor to use as standard input
};

struct Result {
  int status = -1;  // exit status, or 128 + signal
  std::string out;
  std::string err;
};

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
  const std::string& path() const { return path_; }

  std::string read(const std::string& name) const {
    std::ifstream file(*this / name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }
  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream(*this / name, std::ios::binary | std::ios::trunc) << bytes;
  }
  void copy_example(const std::string& name) const {
    fs::copy_file(kExamples + "/" + name, *this / name, fs::copy_options::overwrite_existing);
  }
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(path_)) all.push_back(entry.path().filename());
    return all;
  }

  // Starts the emulator in this directory; the child's stdout read end (or -1).
  // Tests start children from several threads at once, so the child of fork
  // makes only async-signal-safe calls: a lock another thread held in malloc
  // at the fork (the sanitizers' allocator has no fork handlers) would hang it
  // forever. The argument vector is therefore built before the fork, and the
  // pipes are close-on-exec so that no sibling's program keeps them open.
  pid_t start(const Launch& launch, int* out_read, int* err_read) const {
    *out_read = -1;
    *err_read = -1;
    std::vector<char*> argv{const_cast<char*>(VTL_EMULATOR_PATH)};
    for (const std::string& arg : launch.args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    int out_pipe[2] = {-1, -1};
    int err_pipe[2];
    if ((launch.out == Stdout::pipe || launch.out == Stdout::broken_pipe) &&
        ::pipe2(out_pipe, O_CLOEXEC) != 0) {
      return -1;
    }
    if (::pipe2(err_pipe, O_CLOEXEC) != 0) {
      for (const int fd : out_pipe) {
        if (fd >= 0) ::close(fd);
      }
      return -1;
    }
    if (launch.out == Stdout::broken_pipe) {
      // No reader from the start: closed after the fork, a busy parent could
      // still hold the read end when the child writes its report.
      ::close(out_pipe[0]);
      out_pipe[0] = -1;
    }
    const pid_t pid = ::fork();
    if (pid < 0) {
      for (const int fd : {out_pipe[0], out_pipe[1], err_pipe[0], err_pipe[1]}) {
        if (fd >= 0) ::close(fd);
      }
      return -1;
    }
    if (pid == 0) {
      if (::chdir(path_.c_str()) != 0) ::_exit(120);
      switch (launch.out) {
        case Stdout::pipe:
        case Stdout::broken_pipe:
          ::dup2(out_pipe[1], 1);
          break;
        case Stdout::dev_full:
          ::dup2(::open("/dev/full", O_WRONLY), 1);
          break;
        case Stdout::closed:
          ::close(1);
          break;
        case Stdout::file:
          ::dup2(::open("report.out", O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
          break;
      }
      ::dup2(err_pipe[1], 2);
      if (launch.stdin_fd >= 0) ::dup2(launch.stdin_fd, 0);
      if (launch.close_stdin) ::close(0);
      if (launch.close_stderr) ::close(2);
      if (launch.file_size_limit >= 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{static_cast<rlim_t>(launch.file_size_limit),
                           static_cast<rlim_t>(launch.file_size_limit)};
        ::setrlimit(RLIMIT_FSIZE, &limit);
      }
      if (launch.address_space_limit >= 0) {
        const rlimit limit{static_cast<rlim_t>(launch.address_space_limit),
                           static_cast<rlim_t>(launch.address_space_limit)};
        ::setrlimit(RLIMIT_AS, &limit);
      }
      for (int fd = 3; fd < 256; ++fd) ::close(fd);
      ::execv(VTL_EMULATOR_PATH, argv.data());
      ::_exit(121);
    }
    if (out_pipe[1] >= 0) ::close(out_pipe[1]);
    ::close(err_pipe[1]);
    *out_read = out_pipe[0];
    *err_read = err_pipe[0];
    return pid;
  }

  Result run(const Launch& launch) const {
    int out_fd;
    int err_fd;
    const pid_t pid = start(launch, &out_fd, &err_fd);
    Result result;
    std::thread drain_err([&] { result.err = drain(err_fd); });
    if (out_fd >= 0) result.out = drain(out_fd);
    drain_err.join();
    result.status = wait_for(pid);
    return result;
  }
  Result run(const std::vector<std::string>& args) const { return run(Launch{args}); }

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

const std::string kInit = "vtl_anomalydetection_init";
const std::string kLearn = "vtl_anomalydetection_learn";
const std::string kDetect = "vtl_anomalydetection_detect";
const std::string kSensitivity = "vtl_anomalydetection_set_sensitivity";
const std::string kKnowledge = "vtl_anomalydetection_knowledge";
const std::string kVersion = "vtl_anomalydetection_get_version";

// A directory with a model learned from the normal sample and the files the
// saving commands read.
void prepare_trained(const Dir& dir) {
  dir.copy_example("normal.csv");
  dir.copy_example("mixed.csv");
  ASSERT_EQ(dir.run({kInit}).status, 0);
  ASSERT_EQ(dir.run({kLearn, "--file", "normal.csv"}).status, 0);
  // A knowledge file exported from another model: a valid one, so the import saves.
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

bool only_expected_files(const Dir& dir, std::vector<std::string> allowed) {
  for (const std::string& name : dir.names()) {
    if (std::find(allowed.begin(), allowed.end(), name) == allowed.end()) return false;
  }
  return true;
}

const std::vector<std::string> kWorkFiles = {"Vantelo.dat",   "normal.csv", "mixed.csv",
                                             "knowledge.bin", "big.csv",    "report.out"};

// Kills a run of `command` after a random delay; the exit status (128 + 9 when
// the kill hit it).
int run_and_kill(const Dir& dir, const std::vector<std::string>& command, Stdout out,
                 std::chrono::microseconds delay) {
  int out_fd;
  int err_fd;
  const pid_t pid = dir.start(Launch{command, out}, &out_fd, &err_fd);
  std::this_thread::sleep_for(delay);
  ::kill(pid, SIGKILL);
  ::close(err_fd);
  return Dir::wait_for(pid);
}

TEST(Faults, KillDuringEverySavingCommandLeavesTheOldOrTheNewState) {
  const std::vector<std::vector<std::string>> commands = {
      {kSensitivity, "2.5"},
      {kInit},
      {kKnowledge, "--knowledge_path", "knowledge.bin"},
      {kLearn, "--file", "big.csv"},
      {kDetect, "--file", "big.csv"},
  };
  Dir dir;
  prepare_trained(dir);
  const std::string old_state = dir.read("Vantelo.dat");
  std::mt19937 random(20261123);
  int kills = 0;
  for (const auto& command : commands) {
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
    bool saw_new = false;
    for (int attempt = 0; attempt < 1000 && kills_here < 110; ++attempt) {
      dir.write("Vantelo.dat", old_state);
      const int status =
          run_and_kill(dir, command, Stdout::file, std::chrono::microseconds(delay(random)));
      kills_here += status == 128 + SIGKILL;
      const std::string state = dir.read("Vantelo.dat");
      ASSERT_TRUE(state == old_state || state == new_state)
          << "a torn state file of " << state.size() << " bytes after a kill";
      saw_old = saw_old || state == old_state;
      saw_new = saw_new || state == new_state;
    }
    EXPECT_EQ(kills_here, 110);
    EXPECT_TRUE(saw_old);
    kills += kills_here;
  }
  EXPECT_GE(kills, 500);
  // A later run leaves no temporary file behind, whatever a kill left.
  ASSERT_EQ(dir.run({kSensitivity, "1"}).status, 0);
  EXPECT_TRUE(only_expected_files(dir, kWorkFiles));
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
  for (const auto& command : std::vector<std::vector<std::string>>{
           {kInit}, {kSensitivity, "3"}, {kKnowledge, "--knowledge_path", "knowledge.bin"}}) {
    SCOPED_TRACE(command[0]);
    Launch launch{command};
    launch.file_size_limit = 0;
    const Result result = dir.run(launch);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, write_error) << "the report must not be printed";
    EXPECT_EQ(dir.read("Vantelo.dat"), old_state);
  }
  for (const auto& command : std::vector<std::vector<std::string>>{
           {kLearn, "--array", "1", "2", "3"}, {kDetect, "--file", "mixed.csv"}}) {
    SCOPED_TRACE(command[0]);
    Launch launch{command};
    launch.file_size_limit = 0;
    const Result result = dir.run(launch);
    EXPECT_EQ(result.status, 1);
    ASSERT_GE(result.out.size(), write_error.size());
    EXPECT_EQ(result.out.substr(result.out.size() - write_error.size()), write_error)
        << "the error line follows the report";
    EXPECT_EQ(dir.read("Vantelo.dat"), old_state);
  }
  EXPECT_TRUE(only_expected_files(dir, kWorkFiles));
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
  const std::vector<Case> cases = {
      {Stdout::dev_full, -1, "No space left on device"},
      {Stdout::broken_pipe, -1, "Broken pipe"},
      {Stdout::closed, -1, "Bad file descriptor"},
      {Stdout::file, 4096, "File too large"},  // the report outgrows the limit, the state does not
  };
  for (const Case& c : cases) {
    for (const auto& command :
         std::vector<std::vector<std::string>>{{kLearn, "--file", "normal.csv"},
                                               {kDetect, "--file", "big.csv"},
                                               {kSensitivity, "4"},
                                               {kInit},
                                               {kKnowledge, "--knowledge_path", "knowledge.bin"}}) {
      if (c.out == Stdout::file && (command.size() < 2 || command[1] != "--file"))
        continue;  // short reports fit
      SCOPED_TRACE(command[0] + " / " + c.reason);
      Launch launch{command, c.out};
      launch.file_size_limit = c.limit;
      const Result result = dir.run(launch);
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.err, "Error: could not write to standard output (" + c.reason + ") !\n");
      EXPECT_EQ(dir.read("Vantelo.dat"), old_state);
    }
  }
  EXPECT_TRUE(only_expected_files(dir, kWorkFiles));
}

TEST(Faults, ClosedStandardInputAndErrorChangeNothing) {
  Dir reference;
  prepare_trained(reference);
  const Result expected = reference.run({kDetect, "--file", "mixed.csv"});
  Dir dir;
  prepare_trained(dir);
  Launch launch{{kDetect, "--file", "mixed.csv"}};
  launch.close_stdin = true;
  launch.close_stderr = true;
  const Result result = dir.run(launch);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, expected.out);
  EXPECT_EQ(dir.read("Vantelo.dat"), reference.read("Vantelo.dat"));
}

TEST(Faults, ParallelInvocationsBehaveAsIfRunOneAfterAnother) {
  Dir dir;
  ASSERT_EQ(dir.run({kInit}).status, 0);
  for (int round = 0; round < 10; ++round) {
    std::vector<std::thread> runs;
    for (int i = 0; i < 20; ++i) {
      runs.emplace_back([&dir, i] {
        EXPECT_EQ(dir.run({kLearn, "--array", std::to_string(i + 1), "2", "3"}).status, 0);
      });
    }
    for (std::thread& run : runs) run.join();
  }
  const Result version = dir.run({kVersion});
  EXPECT_NE(version.out.find("\"learning_summary\": {\"signals\": 200}"), std::string::npos)
      << version.out;

  // Learning beside sensitivity updates: neither effect is lost.
  for (int round = 0; round < 3; ++round) {
    std::vector<std::thread> runs;
    for (int i = 0; i < 10; ++i) {
      runs.emplace_back([&dir] {
        EXPECT_EQ(dir.run({kLearn, "--array", "4", "5", "6"}).status, 0);
      });
      runs.emplace_back([&dir] { EXPECT_EQ(dir.run({kSensitivity, "2"}).status, 0); });
    }
    for (std::thread& run : runs) run.join();
  }
  const Result after = dir.run({kVersion});
  EXPECT_NE(after.out.find("\"sensitivity\": 2.00"), std::string::npos) << after.out;
  EXPECT_NE(after.out.find("\"learning_summary\": {\"signals\": 230}"), std::string::npos)
      << after.out;
}

TEST(Faults, AFifoAsStateFileIsRefusedWithoutHanging) {
  Dir dir;
  ASSERT_EQ(::mkfifo((dir / "Vantelo.dat").c_str(), 0644), 0);
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string out_start;
  };
  const std::vector<Case> cases = {
      {{kLearn, "--array", "1", "2", "3"}, 1, kStateMissing},
      {{kSensitivity, "2"}, 1, kStateMissing},
      {{kInit}, 1, "Error: could not write state file Vantelo.dat !\n"},
      {{kVersion}, 0, report_head("id_version", kNullSensitivity, "null")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args[0]);
    int out_fd;
    int err_fd;
    const pid_t pid = dir.start(Launch{c.args}, &out_fd, &err_fd);
    int status = 0;
    pid_t done = 0;
    for (int waited = 0; waited < 500 && done == 0; ++waited) {
      done = ::waitpid(pid, &status, WNOHANG);
      if (done == 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (done == 0) {
      ::kill(pid, SIGKILL);
      Dir::wait_for(pid);
    }
    ASSERT_NE(done, 0) << "the invocation hung on the FIFO";
    EXPECT_EQ(WEXITSTATUS(status), c.status);
    EXPECT_EQ(Dir::drain(out_fd).substr(0, c.out_start.size()), c.out_start);
    ::close(err_fd);
  }
  struct stat info;
  ASSERT_EQ(::stat((dir / "Vantelo.dat").c_str(), &info), 0);
  EXPECT_TRUE(S_ISFIFO(info.st_mode));
}

// Runs a command whose signal file comes through a pipe fed with `bytes`.
Result run_with_piped_file(const Dir& dir, std::vector<std::string> args,
                           const std::string& bytes) {
  int feed[2];
  EXPECT_EQ(::pipe(feed), 0);
  Launch launch{std::move(args)};
  launch.stdin_fd = feed[0];
  int out_fd;
  int err_fd;
  const pid_t pid = dir.start(launch, &out_fd, &err_fd);
  ::close(feed[0]);
  std::thread writer([&] {
    std::size_t done = 0;
    while (done < bytes.size()) {
      const ssize_t put = ::write(feed[1], bytes.data() + done, bytes.size() - done);
      if (put <= 0) break;
      done += static_cast<std::size_t>(put);
    }
    ::close(feed[1]);
  });
  Result result;
  std::thread drain_err([&] { result.err = Dir::drain(err_fd); });
  result.out = Dir::drain(out_fd);
  writer.join();
  drain_err.join();
  result.status = Dir::wait_for(pid);
  return result;
}

TEST(Faults, APipeAsSignalFileGivesWhatTheSameBytesInAFileGive) {
  for (const auto& range : std::vector<std::vector<std::string>>{
           {}, {"--begin", "3", "--end", "40"}, {"--end", "300", "--begin", "299"}}) {
    Dir from_file;
    Dir from_pipe;
    prepare_trained(from_file);
    prepare_trained(from_pipe);
    std::vector<std::string> args = {kLearn, "--file", "normal.csv"};
    args.insert(args.end(), range.begin(), range.end());
    const Result expected = from_file.run(args);
    args[2] = "/dev/stdin";
    const Result piped = run_with_piped_file(from_pipe, args, from_pipe.read("normal.csv"));
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
  const Result empty = run_with_piped_file(dir, {kDetect, "--file", "/dev/stdin"}, "");
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

// Durable saves (VANTELO_SYNC) only add syncs: the same reports, the same
// state, the same files, for each saving command and with a kept tail.
TEST(Faults, DurableSavesGiveWhatOrdinarySavesGive) {
  const std::vector<std::vector<std::string>> commands = {
      {kInit},
      {kLearn, "--file", "normal.csv"},
      {kLearn, "--array", "1", "2", "3"},
      {kSensitivity, "2.5"},
      {kDetect, "--file", "mixed.csv"},
      {kKnowledge, "--knowledge_path", "knowledge.bin"},
  };
  Dir ordinary;
  Dir durable;
  prepare_trained(ordinary);
  prepare_trained(durable);
  const std::string tail(100, 'T');
  ordinary.write("Vantelo.dat", ordinary.read("Vantelo.dat") + tail);
  durable.write("Vantelo.dat", durable.read("Vantelo.dat") + tail);
  for (const char* value : {"1", "yes"}) {
    for (const auto& command : commands) {
      SCOPED_TRACE(command[0]);
      const Result expected = ordinary.run(command);
      ::setenv("VANTELO_SYNC", value, 1);
      const Result got = durable.run(command);
      ::unsetenv("VANTELO_SYNC");
      EXPECT_EQ(got.status, expected.status);
      EXPECT_EQ(got.out, expected.out);
      EXPECT_EQ(got.err, "");
      EXPECT_EQ(durable.read("Vantelo.dat"), ordinary.read("Vantelo.dat"));
      EXPECT_TRUE(only_expected_files(durable, kWorkFiles));
    }
  }
}

// Long files are learned and read on a second thread. Where no thread can be
// had (here: no address space for its stack), everything runs on the one
// thread, with the same reports and state.
TEST(Faults, WithoutASecondThreadLongFilesGiveTheSameResults) {
#ifdef VTL_EMULATOR_SANITIZED
  GTEST_SKIP() << "a sanitized emulator needs more address space than the limit leaves";
#endif
  Dir roomy;
  Dir tight;
  prepare_trained(roomy);
  prepare_trained(tight);
  for (const auto& command : std::vector<std::vector<std::string>>{
           {kLearn, "--file", "big.csv"}, {kDetect, "--file", "big.csv"}}) {
    SCOPED_TRACE(command[0]);
    const Result expected = roomy.run(command);
    Launch launch{command};
    launch.address_space_limit = 6L << 20;  // less than one thread stack
    const Result got = tight.run(launch);
    ASSERT_EQ(expected.status, 0);
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.out, expected.out);
    EXPECT_EQ(got.err, "");
    EXPECT_EQ(tight.read("Vantelo.dat"), roomy.read("Vantelo.dat"));
  }
}

}  // namespace
}  // namespace vtl::test
