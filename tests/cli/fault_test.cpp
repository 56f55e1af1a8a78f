// The trained model is never lost: the emulator under kill -9, full disks,
// failing standard output, closed descriptors, parallel invocations, a FIFO as
// its state file and pipes as signal files.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "cli/expected_text.h"
#include "cli/launcher.h"

namespace vtl::test {
namespace {

namespace fs = std::filesystem;

const std::vector<std::string> kWorkFiles = {"Vantelo.dat",   "normal.csv", "mixed.csv",
                                             "knowledge.bin", "big.csv",    "report.out"};

// Whether the directory holds no other files than the work files.
bool only_work_files(const Dir& dir) {
  for (const auto& entry : fs::directory_iterator(dir / ".")) {
    const std::string name = entry.path().filename();
    if (std::find(kWorkFiles.begin(), kWorkFiles.end(), name) == kWorkFiles.end()) return false;
  }
  return true;
}

// A directory with a model learned from the normal sample and the files the
// saving commands read.
void prepare_trained(const Dir& dir) {
  for (const char* name : {"normal.csv", "mixed.csv"}) {
    fs::copy_file(std::string(VTL_EXAMPLES_DIR) + "/" + name, dir / name,
                  fs::copy_options::overwrite_existing);
  }
  ASSERT_EQ(dir.run({kInit}).status, 0);
  ASSERT_EQ(dir.run({kLearn, "--file", "normal.csv"}).status, 0);
  dir.write("knowledge.bin", knowledge_bytes(288));  // valid, and not this model: it saves
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
    auto whole = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - started);
    const std::string new_state = dir.read("Vantelo.dat");
    ASSERT_NE(new_state, old_state);
    int kills_here = 0;
    bool saw_old = false;
    for (int attempt = 0; attempt < 1000 && kills_here < 110; ++attempt) {
      dir.write("Vantelo.dat", old_state);
      const std::chrono::microseconds delay(
          std::uniform_int_distribution<long>(0, whole.count())(random));
      if (run_and_kill(dir, command, Stdout::file, delay) == 128 + SIGKILL) {
        ++kills_here;
      } else {
        // The run was over before the kill: runs are quicker now than when
        // the range was measured (other tests' load comes and goes), so the
        // range shrinks to this delay, which keeps misses rare.
        whole = delay;
      }
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
  EXPECT_TRUE(only_work_files(dir));
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
  EXPECT_TRUE(only_work_files(dir));
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
  EXPECT_TRUE(only_work_files(dir));
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
    EXPECT_TRUE(only_work_files(dir));
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
