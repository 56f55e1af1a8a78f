// End-to-end tests of the command dispatcher: names, argument checks, message
// blocks, exit status, the state file's life cycle and the knowledge import.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <utility>

#include "cli/expected_text.h"
#include "cli/session.h"
#include "persist/state_file.h"

namespace vtl::test {
namespace {

// A report without results, with the saved totals (or nulls without a state).
std::string bare_report(const std::string& status, const std::string& sensitivity,
                        const std::string& tail, const std::string& input = "null") {
  return report_head(status, sensitivity, input) + "\t\"results\": [],\n" + tail;
}
std::string totals(int learned, int detected = 0, int nominal = 0, int anomaly = 0) {
  return kNullDetectionResults + totals_tail(learned, detected, nominal, anomaly);
}
const std::string kInitReport = bare_report("initialization", "1.00", kNullTail);
std::string too_many(const std::string& command) {
  return "Error: too many arguments Vantelo Emulator call !\nValid call is: " + command + "\n" +
         kTrailer;
}

TEST(Dispatcher, AMissingOrUnknownCommandIsRefused) {
  Session s;
  std::vector<Step> steps = {
      {{},
       "Error: missing argument in Vantelo Emulator call !\n" + kGeneralUsage + kTrailer,
       1,
       StateAfter::absent}};
  // Names match whole and case-sensitively.
  for (const std::string& name : std::vector<std::string>{kInit + "x", "VTL_ANOMALYDETECTION_INIT",
                                                          "vtl_anomalydetection_detec", ""}) {
    steps.push_back({{name},
                     "Error '" + name + "' is not a valid function in Vantelo Emulator !\n" +
                         kGeneralUsage + kTrailer,
                     1,
                     StateAfter::absent});
  }
  s.run_steps(steps);
}

// The well-formedness check that every successful report passes.
TEST(JsonCheck, AcceptsReportsAndFindsTheFaultsOfBrokenOnes) {
  EXPECT_EQ("", json_error("{\"a\": [1, -2.5e3, \"x\\\"y\", true, null, {}], \"b\": []}\n"));
  EXPECT_EQ("not valid JSON at byte 10", json_error("{\"a\": [1, nan]}"));
  EXPECT_EQ("not valid JSON at byte 8", json_error("{\"a\": 1,}"));
  EXPECT_EQ("not valid JSON at byte 8", json_error("{\"a\": 1}}"));
}

TEST(Dispatcher, InitAndGetVersionTakeNoArgumentAndInitStartsAfresh) {
  Session s;
  s.run_steps({
      {{kInit, "extra"}, too_many(kInit), 1, StateAfter::absent},
      {{kGetVersion, "x"}, too_many(kGetVersion), 1, StateAfter::absent},
      {{kGetVersion},
       bare_report("id_version", kNullSensitivity, kNullTail),
       0,
       StateAfter::absent},
      {{kInit}, kInitReport, 0, StateAfter::present},
  });
  EXPECT_EQ(s.state(), StateImage::after_init().bytes());
  // Whatever the previous state held, init starts afresh and shows 1.00.
  StateImage used = StateImage::after_init();
  used.learned(42).i32(4, 7).f32(16, 2.5f).u8(29, 2).u16(31 + 16, 9);
  s.write_state(used.bytes() + "tail bytes");
  s.run_steps({{{kInit}, kInitReport, 0, StateAfter::present}});
  EXPECT_EQ(s.state(), StateImage::after_init().bytes());
}

TEST(Dispatcher, GetVersionReportsTheSavedTotals) {
  Session s;
  StateImage saved = StateImage::after_init();
  saved.learned(12).i32(4, 5).i32(8, 3).i32(12, 2).f32(16, 0.125f);
  s.write_state(saved.bytes());
  s.run_steps({{{kGetVersion},
                bare_report("id_version", "0.12", totals(12, 5, 3, 2)),
                0,
                StateAfter::unchanged}});
  // A short file loads what it holds; the rest keeps its starting values.
  s.write_state(saved.bytes().substr(0, 6));
  s.run_steps(
      {{{kGetVersion}, bare_report("id_version", "1.00", totals(12)), 0, StateAfter::unchanged}});
}

TEST(Dispatcher, SetSensitivityStoresStrtodOfItsOneArgument) {
  Session s;
  const std::string wrong_count =
      "Error: missing or too many arguments Vantelo Emulator call !\n"
      "Valid call is: vtl_anomalydetection_set_sensitivity value\n" +
      kTrailer;
  auto update = [](const std::string& value) {
    return bare_report("sensitivity_update", value, totals(0));
  };
  s.run_steps({
      // The argument count is checked before the state file is looked at.
      {{kSensitivity}, wrong_count, 1, StateAfter::absent},
      {{kSensitivity, "1", "2"}, wrong_count, 1, StateAfter::absent},
      {{kSensitivity, "2.5"}, kStateMissing, 1, StateAfter::absent},
      {{kInit}, kInitReport, 0, StateAfter::present},
      {{kSensitivity, "2.5"}, update("2.50"), 0, StateAfter::changed},
      {{kGetVersion}, bare_report("id_version", "2.50", totals(0)), 0, StateAfter::unchanged},
      {{kSensitivity, "abc"}, update("0.00"), 0, StateAfter::changed},
      {{kSensitivity, "-3.456e1xyz"}, update("-34.56"), 0, StateAfter::changed},
  });
  float stored;
  std::memcpy(&stored, s.state()->data() + 16, 4);
  EXPECT_EQ(stored, static_cast<float>(-34.56));
}

TEST(Dispatcher, CommandsNeedingStateCheckItFirst) {
  Session s;
  s.run_steps({
      {{kLearn}, kStateMissing, 1, StateAfter::absent},
      {{kDetect}, kStateMissing, 1, StateAfter::absent},
      {{kKnowledge}, kStateMissing, 1, StateAfter::absent},
      {{kDetect, "--file", "x.csv"}, kStateMissing, 1, StateAfter::absent},
  });
}

TEST(Dispatcher, LearnWithoutAValidInputFormIsRefused) {
  Session s;
  s.run({kInit});
  const std::string missing = "Error: missing argument in Vantelo learning function call !\n";
  const std::string wrong_by_file =
      "Error: missing or not valid argument in Vantelo learning function call by file !\n"
      "Valid Vantelo learning function calls by file are:\n" +
      usage_lines(kLearn, 2) + kTrailer;
  s.run_steps({
      {{kLearn},
       missing + "Valid Vantelo learning function calls are:\n" + kLearnUsage + kTrailer,
       1},
      {{kLearn, "--files", "a"}, missing + kLearnUsage + kTrailer, 1},
      {{kLearn, "--file"}, wrong_by_file, 1},
      {{kLearn, "--file", "a", "--begin", "1"}, wrong_by_file, 1},
      {{kLearn, "--file", "a", "--begin", "1", "--end", "2", "x"}, wrong_by_file, 1},
  });
}

TEST(Dispatcher, DetectChecksTheLearningGateBeforeItsArguments) {
  Session s;
  s.run({kInit});
  const std::string missing = "Error: missing argument in Vantelo detection function call !\n";
  const std::string no_learning =
      "Error: no learning was done, please run vtl_anomalydetecion_learn function to continue !\n" +
      kTrailer;
  s.run_steps({
      {{kDetect},
       missing + "Valid Vantelo detection function calls are:\n" + kBareDetectUsage + kTrailer,
       1},
      // The learning gate comes before the second argument is looked at.
      {{kDetect, "--bogus"}, no_learning, 1},
      {{kDetect, "--array", "1", "2", "3"}, no_learning, 1},
  });
  s.write_state(StateImage::after_init().learned(9).bytes());
  s.run_steps({{{kDetect, "--array", "1", "2", "3"},
                "Error: not enough signals learned. 9 signals learned up to now !\n" + kTrailer,
                1}});
  // A negative total passes the gate, which compares as an unsigned number.
  s.write_state(StateImage::after_init().learned(-5).bytes());
  s.run_steps({
      {{kDetect, "--bogus"}, missing + kDetectUsage + kTrailer, 1},
      {{kDetect, "--file", "a", "b"},
       "Error: missing or not valid argument in Vantelo detection function call by file !\n"
       "Valid Vantelo detection function calls by file are:\n" +
           usage_lines(kDetect, 2) + kTrailer,
       1},
  });
}

TEST(Dispatcher, KnowledgeImportsOnlyAReadableMatchingWholeRecord) {
  Session s;
  s.write_state(StateImage::after_init().learned(3).i32(4, 6).i32(8, 6).bytes());
  s.write("empty.bin", "");
  s.write("model.bin", knowledge_bytes(288));
  s.write("long.bin", knowledge_bytes(300));
  s.write("wrong.bin", knowledge_bytes(288, 2.0f));
  s.write("short.bin", knowledge_bytes(287));
  const std::string mismatch =
      "Error: a knowledge that do not match the library has been loaded 1 !\n";
  auto load = [](const std::string& file) {
    return std::vector<std::string>{kKnowledge, "--knowledge_path", file};
  };
  s.run_steps({
      {{kKnowledge},
       "Error: missing argument in Vantelo load knowledge function call !\n"
       "Valid Vantelo load knowledge function calls is:\n"
       "\tvtl_anomalydetection_knowledge --knowledge_path filename\n" +
           kTrailer,
       1},
      {{kKnowledge, "--knowledge_path"},
       "Error: could not open knowledge file !\nCheck path of file and/or name of file is "
       "correct.\n",
       1},
      {load("empty.bin"), "Error: file is empty !\n", 1},
      // Another option imports nothing, and says nothing of it.
      {{kKnowledge, "--path", "missing.bin"},
       bare_report("load_knowledge", "1.00", totals(3, 6, 6)),
       0,
       StateAfter::unchanged},
      {load("wrong.bin"), mismatch, 1, StateAfter::unchanged},
      {load("short.bin"), mismatch, 1, StateAfter::unchanged},
      {load("model.bin"), bare_report("load_knowledge", "1.00", totals(14, 6, 6), "model.bin"), 0,
       StateAfter::changed},
      {load("long.bin"), bare_report("load_knowledge", "1.00", totals(14, 6, 6), "long.bin"), 0},
  });
  StateImage expected = StateImage::after_init();
  expected.learned(14).i32(4, 6).i32(8, 6).u8(211, 9).u8(212, 9).u8(213, 3).u16(214, 1);
  for (int k = 0; k < 10; ++k) {
    expected.f32(31 + 18 * k, 1.0f + static_cast<float>(k)).f32(35 + 18 * k, 2.0f);
    expected.f32(39 + 18 * k, 3.0f).f32(43 + 18 * k, k < 3 ? 0.5f : 0.0f);
    expected.u16(47 + 18 * k, k < 3 ? 4 : 1);
  }
  EXPECT_EQ(s.state(), expected.bytes());
  // The imported model detects.
  EXPECT_EQ(s.run({kDetect, "--array", "2", "2", "3"}).status, 0);
}

TEST(Dispatcher, ASaveRemovesATemporaryNameLeftByAKilledRun) {
  Session s;
  s.run({kInit});
  s.write(".Vantelo.dat.tmp", "left by a killed run");
  EXPECT_EQ(0, s.run({kSensitivity, "2"}).status);
  EXPECT_FALSE(s.read_file(".Vantelo.dat.tmp").has_value());
}

// Sets or clears the immutable attribute, which binds root too.
bool set_immutable(const std::string& path, bool on) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  int flags = 0;
  bool done = fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
  flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
  done = done && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
  if (fd >= 0) ::close(fd);
  return done;
}

// Closes a file or directory to writes while it lives: `user_mode` for an
// ordinary user, the immutable attribute for root (whom permissions do not
// bind).
class Frozen {
 public:
  Frozen(std::string path, mode_t user_mode) : path_(std::move(path)) {
    if (::geteuid() != 0) {
      done_ = ::chmod(path_.c_str(), user_mode) == 0;
    } else {
      done_ = set_immutable(path_, true);
    }
  }
  ~Frozen() {
    if (!done_) return;
    if (::geteuid() != 0) {
      ::chmod(path_.c_str(), 0700);
    } else {
      set_immutable(path_, false);
    }
  }
  Frozen(const Frozen&) = delete;
  Frozen& operator=(const Frozen&) = delete;
  bool done() const { return done_; }

 private:
  std::string path_;
  bool done_ = false;
};

// Learn and detect open the state file for update, so one that cannot be
// written counts as missing; the other commands load it and fail on the save.
TEST(Dispatcher, AReadOnlyStateFileIsNeverReplaced) {
  Session s;
  s.run({kInit});
  const Frozen frozen(s / "Vantelo.dat", 0400);
  if (!frozen.done()) GTEST_SKIP() << "this file system cannot make the file read-only";
  s.run_steps({
      {{kSensitivity, "2"},
       "Error: could not write state file Vantelo.dat !\n",
       1,
       StateAfter::unchanged},
      {{kLearn, "--array", "1", "2", "3"}, kStateMissing, 1, StateAfter::unchanged},
  });
}

// A writable state file in a directory that takes no new file is written over
// in place, to the same bytes as a save that renames: learn keeps the bytes
// after the state, set_sensitivity cuts them. Without a state file there,
// init cannot make one.
TEST(Dispatcher, AStateFileInAClosedDirectoryIsWrittenInPlace) {
  Session closed;
  Session open;
  for (const Session* s : {&closed, &open}) {
    s->run({kInit});
    s->write_state(*s->state() + "tail");
  }
  Session empty;
  const Frozen closing(closed / ".", 0500);
  const Frozen closing_empty(empty / ".", 0500);
  if (!closing.done() || !closing_empty.done()) {
    GTEST_SKIP() << "this file system cannot close a directory to new names";
  }
  const std::vector<Command> commands = {{kLearn, "--array", "1", "2", "3"},
                                         {kDetect, "--array", "1", "2", "3"},
                                         {kSensitivity, "2.5"}};
  for (int signal = 0; signal < 10; ++signal) open.run(commands[0]);
  for (int signal = 0; signal < 10; ++signal) EXPECT_EQ(0, closed.run(commands[0]).status);
  EXPECT_EQ(closed.state(), open.state());
  EXPECT_EQ(closed.state()->substr(kStateFileSize), "tail");
  for (const Command& command : {commands[1], commands[2]}) {
    EXPECT_EQ(open.run(command).out, closed.run(command).out);
    EXPECT_EQ(closed.state(), open.state());
  }
  EXPECT_EQ(closed.state()->size(), kStateFileSize);
  empty.run_steps(
      {{{kInit}, "Error: could not write state file Vantelo.dat !\n", 1, StateAfter::absent}});
}

TEST(Dispatcher, ADirectoryAsStateFileIsNeverReplaced) {
  Session s;
  std::filesystem::create_directory(s / "Vantelo.dat");
  s.run_steps({
      {{kInit}, "Error: could not write state file Vantelo.dat !\n", 1},
      // A directory is no state file: the commands that load one miss it.
      {{kSensitivity, "2"}, kStateMissing, 1},
      {{kLearn, "--array", "1", "2", "3"}, kStateMissing, 1},
  });
  EXPECT_TRUE(std::filesystem::is_directory(s / "Vantelo.dat"));
}

}  // namespace
}  // namespace vtl::test
