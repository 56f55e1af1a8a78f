// End-to-end tests of the command dispatcher: names, argument checks, message
// blocks, exit status and the state file's life cycle.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <filesystem>

#include "cli/expected_text.h"
#include "cli/session.h"

namespace vtl::test {
namespace {

const std::string kInit = "vtl_anomalydetection_init";
const std::string kVersionCmd = "vtl_anomalydetection_get_version";
const std::string kKnowledge = "vtl_anomalydetection_knowledge";
const std::string kLearn = "vtl_anomalydetection_learn";
const std::string kSensitivity = "vtl_anomalydetection_set_sensitivity";
const std::string kDetect = "vtl_anomalydetection_detect";

const std::string kInitReport =
    report_head("initialization", "1.00", "null") + "\t\"results\": [],\n" + kNullTail;

std::string version_report(const std::string& sensitivity, int learned, int detected, int nominal,
                           int anomaly) {
  return report_head("id_version", sensitivity, "null") + "\t\"results\": [],\n" +
         kNullDetectionResults + totals_tail(learned, detected, nominal, anomaly);
}

TEST(Dispatcher, AMissingOrUnknownCommandIsRefused) {
  Session s;
  s.run_steps({{{},
                "Error: missing argument in Vantelo Emulator call !\n" + kGeneralUsage + kTrailer,
                1,
                StateAfter::absent}});
  // Names match whole and case-sensitively.
  for (const std::string& name : {kInit + "x", std::string("VTL_ANOMALYDETECTION_INIT"),
                                  std::string("vtl_anomalydetection_detec"), std::string("")}) {
    s.run_steps({{{name},
                  "Error '" + name + "' is not a valid function in Vantelo Emulator !\n" +
                      kGeneralUsage + kTrailer,
                  1,
                  StateAfter::absent}});
  }
}

// The well-formedness check that every successful report passes.
TEST(JsonCheck, AcceptsReportsAndFindsTheFaultsOfBrokenOnes) {
  EXPECT_EQ("", json_error("{\"a\": [1, -2.5e3, \"x\\\"y\", true, null, {}], \"b\": []}\n"));
  EXPECT_EQ("not valid JSON at byte 10", json_error("{\"a\": [1, nan]}"));
  EXPECT_EQ("not valid JSON at byte 8", json_error("{\"a\": 1,}"));
  EXPECT_EQ("not valid JSON at byte 8", json_error("{\"a\": 1}}"));
}

TEST(Dispatcher, InitWritesTheFreshState) {
  Session s;
  s.run_steps({
      {{kInit, "extra"},
       "Error: too many arguments Vantelo Emulator call !\nValid call is: "
       "vtl_anomalydetection_init\n" +
           kTrailer,
       1,
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

TEST(Dispatcher, GetVersionReportsTheSavedTotalsOrNulls) {
  Session s;
  s.run_steps({
      {{kVersionCmd},
       report_head("id_version", kNullSensitivity, "null") + "\t\"results\": [],\n" + kNullTail,
       0,
       StateAfter::absent},
      {{kVersionCmd, "x"},
       "Error: too many arguments Vantelo Emulator call !\nValid call is: "
       "vtl_anomalydetection_get_version\n" +
           kTrailer,
       1,
       StateAfter::absent},
  });
  StateImage saved = StateImage::after_init();
  saved.learned(12).i32(4, 5).i32(8, 3).i32(12, 2).f32(16, 0.125f);
  s.write_state(saved.bytes());
  s.run_steps({{{kVersionCmd}, version_report("0.12", 12, 5, 3, 2), 0, StateAfter::unchanged}});

  // A short file loads what it holds; the rest keeps its starting values.
  s.write_state(saved.bytes().substr(0, 6));
  s.run_steps({{{kVersionCmd}, version_report("1.00", 12, 0, 0, 0), 0, StateAfter::unchanged}});
}

TEST(Dispatcher, SetSensitivityStoresStrtodOfItsOneArgument) {
  Session s;
  const std::string wrong_count =
      "Error: missing or too many arguments Vantelo Emulator call !\n"
      "Valid call is: vtl_anomalydetection_set_sensitivity value\n" +
      kTrailer;
  auto update = [](const std::string& value) {
    return report_head("sensitivity_update", value, "null") + "\t\"results\": [],\n" +
           kNullDetectionResults + totals_tail(0, 0, 0, 0);
  };
  s.run_steps({
      // The argument count is checked before the state file is looked at.
      {{kSensitivity}, wrong_count, 1, StateAfter::absent},
      {{kSensitivity, "1", "2"}, wrong_count, 1, StateAfter::absent},
      {{kSensitivity, "2.5"}, kStateMissing, 1, StateAfter::absent},
      {{kInit}, kInitReport, 0, StateAfter::present},
      {{kSensitivity, "2.5"}, update("2.50"), 0, StateAfter::changed},
      {{kVersionCmd}, version_report("2.50", 0, 0, 0, 0), 0, StateAfter::unchanged},
      {{kSensitivity, "abc"}, update("0.00"), 0, StateAfter::changed},
      {{kSensitivity, "-3.456e1xyz"}, update("-34.56"), 0, StateAfter::changed},
  });
  const std::string bytes = *s.state();
  float stored;
  std::memcpy(&stored, bytes.data() + 16, 4);
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
  const std::string wrong_by_file =
      "Error: missing or not valid argument in Vantelo learning function call by file !\n"
      "Valid Vantelo learning function calls by file are:\n" +
      usage_lines(kLearn, 2) + kTrailer;
  s.run_steps({
      {{kLearn},
       "Error: missing argument in Vantelo learning function call !\n"
       "Valid Vantelo learning function calls are:\n" +
           kLearnUsage + kTrailer,
       1},
      {{kLearn, "--files", "a"},
       "Error: missing argument in Vantelo learning function call !\n" + kLearnUsage + kTrailer,
       1},
      {{kLearn, "--file"}, wrong_by_file, 1},
      {{kLearn, "--file", "a", "--begin", "1"}, wrong_by_file, 1},
      {{kLearn, "--file", "a", "--begin", "1", "--end", "2", "x"}, wrong_by_file, 1},
  });
}

TEST(Dispatcher, DetectChecksTheLearningGateBeforeItsArguments) {
  Session s;
  s.run({kInit});
  const std::string no_learning =
      "Error: no learning was done, please run vtl_anomalydetecion_learn function to continue !\n" +
      kTrailer;
  s.run_steps({
      {{kDetect},
       "Error: missing argument in Vantelo detection function call !\n"
       "Valid Vantelo detection function calls are:\n" +
           kBareDetectUsage + kTrailer,
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
      {{kDetect, "--bogus"},
       "Error: missing argument in Vantelo detection function call !\n" + kDetectUsage + kTrailer,
       1},
      {{kDetect, "--file", "a", "b"},
       "Error: missing or not valid argument in Vantelo detection function call by file !\n"
       "Valid Vantelo detection function calls by file are:\n" +
           usage_lines(kDetect, 2) + kTrailer,
       1},
  });
}

TEST(Dispatcher, KnowledgeWithoutAReadableFileIsRefused) {
  Session s;
  s.run({kInit});
  s.write_file("empty.bin", "");
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
      {{kKnowledge, "--knowledge_path", "empty.bin"}, "Error: file is empty !\n", 1},
  });
}

TEST(Dispatcher, KnowledgeWithAnotherOptionImportsNothing) {
  Session s;
  s.run({kInit});
  s.run_steps({{{kKnowledge, "--path", "missing.bin"},
                report_head("load_knowledge", "1.00", "null") + "\t\"results\": [],\n" +
                    kNullDetectionResults + totals_tail(0, 0, 0, 0),
                0,
                StateAfter::unchanged}});
}

TEST(Dispatcher, ASaveRemovesATemporaryNameLeftByAKilledRun) {
  Session s;
  s.run({kInit});
  s.write_file(".Vantelo.dat.tmp", "left by a killed run");
  EXPECT_EQ(0, s.run({kSensitivity, "2"}).status);
  EXPECT_FALSE(s.read_file(".Vantelo.dat.tmp").has_value());
}

// Makes a file unwritable for this process: by its mode, or for root, which
// ignores modes, with the immutable attribute; undone on destruction so that
// the session can remove its directory.
class UnwritableFile {
 public:
  explicit UnwritableFile(const std::filesystem::path& path) : path_(path) {
    if (::geteuid() != 0) {
      std::filesystem::permissions(path_, std::filesystem::perms::owner_read);
      made_ = true;
      return;
    }
    immutable_ = set_immutable(true);
    made_ = immutable_;
  }
  ~UnwritableFile() {
    if (immutable_) set_immutable(false);
  }
  UnwritableFile(const UnwritableFile&) = delete;
  UnwritableFile& operator=(const UnwritableFile&) = delete;
  bool made() const { return made_; }

 private:
  bool set_immutable(bool on) {
    const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    int flags = 0;
    bool done = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    if (done) {
      flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
      done = ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    }
    ::close(fd);
    return done;
  }

  std::filesystem::path path_;
  bool immutable_ = false;
  bool made_ = false;
};

// Learn and detect open the state file for update, so one that cannot be written
// counts as missing; the other commands load it and fail on the save.
TEST(Dispatcher, AReadOnlyStateFileIsNeverReplaced) {
  Session s;
  s.run({kInit});
  const UnwritableFile unwritable(s.path("Vantelo.dat"));
  if (!unwritable.made()) GTEST_SKIP() << "this file system has no immutable attribute";
  s.run_steps({
      {{kSensitivity, "2"},
       "Error: could not write state file Vantelo.dat !\n",
       1,
       StateAfter::unchanged},
      {{kLearn, "--array", "1", "2", "3"}, kStateMissing, 1, StateAfter::unchanged},
  });
}

TEST(Dispatcher, ADirectoryAsStateFileIsNeverReplaced) {
  Session s;
  std::filesystem::create_directory(s.path("Vantelo.dat"));
  const std::string error = "Error: could not write state file Vantelo.dat !\n";
  s.run_steps({
      {{kInit}, error, 1},
      // A directory is no state file: the commands that load one miss it.
      {{kSensitivity, "2"}, kStateMissing, 1},
      {{kLearn, "--array", "1", "2", "3"}, kStateMissing, 1},
  });
  EXPECT_TRUE(std::filesystem::is_directory(s.path("Vantelo.dat")));
}

}  // namespace
}  // namespace vtl::test
