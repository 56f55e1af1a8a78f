// End-to-end tests of learn and detect: the --array reader, the signal-file
// reader with its range options, separators and reading errors, and the report
// counters across invocations.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "cli/expected_text.h"
#include "cli/session.h"
#include "cli/signal_input.h"

namespace vtl::test {
namespace {

const std::string kInit = "vtl_anomalydetection_init";
const std::string kLearn = "vtl_anomalydetection_learn";
const std::string kDetect = "vtl_anomalydetection_detect";

// Twelve distinct readings, one per line.
const std::string kTwelveLines =
    "0.30,0.20,9.81\n0.31,0.21,9.80\n0.29,0.19,9.82\n0.35,0.22,9.79\n0.28,0.18,9.83\n"
    "0.33,0.25,9.78\n0.30,0.15,9.81\n0.32,0.20,9.80\n0.27,0.23,9.82\n0.34,0.17,9.81\n"
    "0.31,0.24,9.79\n0.26,0.21,9.80\n";

std::string learning_head(const std::string& input) {
  return report_head("learning", "1.00", input) + kResultsOpen;
}
std::string learning_tail(int learned, int detected = 0, int nominal = 0, int anomaly = 0) {
  return kNullDetectionResults + totals_tail(learned, detected, nominal, anomaly);
}

// A session with the twelve readings learned.
void learn_twelve(Session& s) {
  s.run({kInit});
  s.write_file("train.csv", kTwelveLines);
  ASSERT_EQ(s.run({kLearn, "--file", "train.csv"}).status, 0);
}

TEST(SignalInput, LearnByArrayReadsTheValuesAsStrtodDoes) {
  Session s;
  s.run({kInit});
  const std::string report =
      learning_head("array") + learn_entry(1, 0, true) + kResultsClose + learning_tail(1);
  s.run_steps({{{kLearn, "--array", "1", "abc", "3"}, report, 0, StateAfter::changed}});
  // "abc" reads as 0: the signal learned was (1, 0, 3), in slot 0.
  const std::string state = *s.state();
  float center[3];
  std::memcpy(center, state.data() + 31, sizeof center);
  EXPECT_EQ(1.0f, center[0]);
  EXPECT_EQ(0.0f, center[1]);
  EXPECT_EQ(3.0f, center[2]);
}

TEST(SignalInput, AnArrayOfOtherThanThreeValuesIsRefused) {
  Session s;
  s.run({kInit});
  s.run_steps({
      {{kLearn, "--array", "1", "2"},
       "Error the number of input data is too small !!!\nNumber of input data: 2, instead of 3\n",
       1},
      {{kLearn, "--array"},
       "Error the number of input data is too small !!!\nNumber of input data: 0, instead of 3\n",
       1},
      {{kLearn, "--array", "1", "2", "3", "4"},
       "Error the number of input data is too large !!!\nNumber of input data: 4, instead of 3\n",
       1},
  });
}

TEST(SignalInput, LearnByFileReadsTheWholeFileOrTheRange) {
  Session s;
  s.run({kInit});
  s.write_file("three.csv", "1,2,3\n4,5,6\n7,8,9\n");
  s.write_file("five.csv", "1,2,3\n4,5,6\n7,8,9\n1,1,1\n2,2,2\n");
  s.run_steps({
      {{kLearn, "--file", "three.csv"},
       learning_head("three.csv") + learn_entry(1, 1) + learn_entry(2, 2) +
           learn_entry(3, 3, true) + kResultsClose + learning_tail(3),
       0,
       StateAfter::changed},
      {{kLearn, "--file", "five.csv", "--begin", "2", "--end", "3"},
       learning_head("five.csv") + learn_entry(4, 2) + learn_entry(5, 3, true) + kResultsClose +
           learning_tail(5),
       0,
       StateAfter::changed},
      {{kLearn, "--file", "five.csv", "--end", "5", "--begin", "5"},
       learning_head("five.csv") + learn_entry(6, 5, true) + kResultsClose + learning_tail(6),
       0,
       StateAfter::changed},
  });
}

TEST(SignalInput, ABadRangeIsRefusedWithItsOwnMessage) {
  Session s;
  s.run({kInit});
  s.write_file("five.csv", "1,2,3\n4,5,6\n7,8,9\n1,1,1\n2,2,2\n");
  const std::string incompatible =
      "Error: arguments --begin and --end are not compatible !\n"
      "End line number must be >= to begin line number\n";
  const std::string bad_begin =
      "Error: argument --begin is not correct !\nBegin line number must be > 0\n";
  const std::string bad_end =
      "Error: argument --end is not correct !\nEnd line number must be > 0\n";
  const std::string kCannotOpen =
      "Error: could not open file !\nCheck path of file and/or name of file is correct.\n";
  const std::string invalid =
      "Error: missing or not valid argument in Vantelo learning function call by file !\n" +
      usage_lines(kLearn, 2) + kTrailer;
  auto learn = [](const std::string& o1, const std::string& v1, const std::string& o2,
                  const std::string& v2) {
    return std::vector<std::string>{kLearn, "--file", "five.csv", o1, v1, o2, v2};
  };
  s.run_steps({
      {learn("--begin", "3", "--end", "2"), incompatible, 1},
      {learn("--end", "2", "--begin", "3"), incompatible, 1},
      {learn("--begin", "0", "--end", "2"), bad_begin, 1},
      {learn("--begin", "abc", "--end", "2"), bad_begin, 1},
      {learn("--begin", "1", "--end", "-4"), bad_end, 1},
      {learn("--end", "0", "--begin", "9"), bad_end, 1},
      {learn("--begin", "1", "--end", "6"),
       "Error: argument --end is not compatible with the number of lines in file !\n", 1},
      // Beyond 32 bits: the nearest 32-bit value, not the low 32 bits (which are 1 here).
      {learn("--begin", "1", "--end", "4294967297"),
       "Error: argument --end is not compatible with the number of lines in file !\n", 1},
      {learn("--begin", "-4294967295", "--end", "2"), bad_begin, 1},
      {learn("--begin", "1", "--stop", "2"), invalid, 1},
      {learn("--begin", "1", "--begin", "2"), invalid, 1},
      {learn("--end", "2", "--end", "3"), invalid, 1},
      {{kLearn, "--file", "nothere.csv"}, kCannotOpen, 1},
      {{kLearn, "--file", "."}, kCannotOpen, 1},
  });
  s.write_file("empty.csv", "");
  s.run_steps({{{kLearn, "--file", "empty.csv"}, "Error: file is empty !\n", 1}});
}

// The state file after init and learning the given file text.
std::optional<std::string> model_learned_from(const std::string& text) {
  Session s;
  s.run({kInit});
  s.write_file("s.csv", text);
  EXPECT_EQ(s.run({kLearn, "--file", "s.csv"}).status, 0);
  return s.state();
}

// The line count of the file's bytes, and the first byte read after it.
std::pair<std::int32_t, int> count_lines_of(const Session& s, const std::string& bytes) {
  s.write_file("lines.csv", bytes);
  const int fd = ::open(s.path("lines.csv").c_str(), O_RDONLY);
  if (fd < 0) return {-1, -1};
  const std::int32_t lines = count_lines(fd);
  unsigned char first = 0;
  const int next = ::read(fd, &first, 1) == 1 ? first : -1;
  ::close(fd);
  return {lines, next};
}

TEST(SignalInput, LineCountsFindEveryNewlineAndRewind) {
  Session s;
  std::mt19937 random(20261123);
  std::vector<std::string> files = {"", "1,2,3", "\n", std::string(65536 * 2 + 7, '\n')};
  // Newlines just before, on and after the ends of the counter's runs and of
  // the reading blocks, and files of random density around a block's size.
  for (const std::size_t at : {254u, 255u, 256u, 510u, 65535u, 65536u, 65537u}) {
    std::string bytes(70000, 'x');
    bytes[at - 1] = '\n';
    bytes[at] = '\n';
    files.push_back(bytes);
  }
  for (const unsigned density : {2u, 22u, 300u}) {
    std::string bytes(65536 + random() % 1000, '7');
    for (char& c : bytes) c = random() % density == 0 ? '\n' : c;
    files.push_back(bytes);
  }
  for (const std::string& bytes : files) {
    const auto expected = static_cast<std::int32_t>(std::count(bytes.begin(), bytes.end(), '\n'));
    const int first = bytes.empty() ? -1 : static_cast<unsigned char>(bytes[0]);
    EXPECT_EQ(count_lines_of(s, bytes), std::make_pair(expected, first))
        << bytes.size() << " bytes";
  }
}

TEST(SignalInput, ReaderCountsSignalsNotLines) {
  // Any one character separates values: the same readings with other
  // separators or line ends learn the same model.
  const std::optional<std::string> reference = model_learned_from(kTwelveLines);
  const std::pair<char, std::string> replacements[] = {
      {',', " "}, {',', ";"}, {',', "\t"}, {'\n', "\r\n"}};
  for (const auto& [from, to] : replacements) {
    std::string converted;
    for (char c : kTwelveLines) converted += c == from ? to : std::string(1, c);
    EXPECT_EQ(model_learned_from(converted), reference) << "separator '" << to << "'";
  }
  // Four values on a line shift every later signal; the reader never resynchronises.
  EXPECT_EQ(model_learned_from("1,2,3,4\n5,6\n7,8,9\n"),
            model_learned_from("1,2,3\n4,5,6\n7,8,9\n"));
}

TEST(SignalInput, ReadingErrorsLeaveTheReportOpenAndTheStateUnchanged) {
  Session s;
  s.run({kInit});
  const std::string check = "Please check your file.\n" + kReadingTrailer;
  s.write_file("trailing.csv", "1,2,3\n4,5,6\n\n");
  s.write_file("space.csv", "1.0 ,2.0,3.0\n");
  s.write_file("halfway.csv", "1,2,3\n4,x,6\n7,8,9\n");
  s.run_steps({
      // An empty last line counts as a line, but holds no signal.
      {{kLearn, "--file", "trailing.csv"},
       learning_head("trailing.csv") + learn_entry(1, 1) + learn_entry(2, 2) +
           "Error: incompatibility between required and number of data in file trailing.csv !\n" +
           check,
       1},
      {{kLearn, "--file", "space.csv"},
       learning_head("space.csv") + "Error in reading file space.csv !\n" + check,
       1,
       StateAfter::unchanged},
      {{kLearn, "--file", "halfway.csv"},
       learning_head("halfway.csv") + learn_entry(1, 1) + "Error in reading file halfway.csv !\n" +
           check,
       1},
  });
}

// The entry lines of a report, each with its newline.
std::vector<std::string> entry_lines(const std::string& report) {
  std::vector<std::string> entries;
  for (std::size_t at = 0; at < report.size();) {
    const std::size_t end = report.find('\n', at) + 1;
    const std::string line = report.substr(at, end - at);
    if (line.rfind("\t\t{\"signal\"", 0) == 0) entries.push_back(line);
    at = end;
  }
  return entries;
}

// Readings near the learned ones and farther out, nominal and anomalous.
std::string varied_reading(int line) {
  return std::to_string(0.25 + (line % 97) * 0.002) + ",0.20,9.81\n";
}

// Long enough for the second thread and for nine batches of 1024 signals.
constexpr int kLongLines = 9000;

std::string varied_readings() {
  std::string text;
  for (int line = 1; line <= kLongLines; ++line) text += varied_reading(line);
  return text;
}

// The entries of a detection of the whole file; the state is put back after
// it. Detection does not change the model, so each signal rates the same in
// any file.
std::vector<std::string> rated_entries(Session& s, const std::string& name) {
  const std::string before = *s.state();
  std::vector<std::string> rated = entry_lines(s.run({kDetect, "--file", name}).out);
  s.write_state(before);
  return rated;
}

// Long files are learned on a second thread and read and rated for detection
// on a second thread, in batches of 1024 signals: an error must still come out
// after exactly the signals before it, whether it falls inside a batch, on
// either side of a boundary, before a range or at the end, and the state must
// stay as it was.
TEST(SignalInput, ReadingErrorsInLongFilesComeWhereTheyAre) {
  Session s;
  learn_twelve(s);
  const std::string check = "Please check your file.\n" + kReadingTrailer;
  const std::string good = varied_readings();
  s.write_file("good.csv", good);
  const std::vector<std::string> rated = rated_entries(s, "good.csv");
  ASSERT_EQ(rated.size(), static_cast<std::size_t>(kLongLines));
  const auto rated_as = [&](const std::string& status) {
    return std::count_if(rated.begin(), rated.end(), [&](const std::string& entry) {
      return entry.find(status) != std::string::npos;
    });
  };
  ASSERT_GT(rated_as("nominal"), 0);
  ASSERT_GT(rated_as("anomaly"), 0);
  for (int bad : {1, 1024, 1025, 4096, 4097, 8999, 9000}) {
    SCOPED_TRACE(bad);
    std::string text;
    for (int line = 1; line <= kLongLines; ++line) {
      text += line == bad ? "1,x,3\n" : varied_reading(line);
    }
    s.write_file("long.csv", text);
    std::string learned = learning_head("long.csv");
    for (int line = 1; line < bad; ++line) learned += learn_entry(line + 12, line);
    std::string detected = report_head("detection", "1.00", "long.csv") + kResultsOpen;
    for (int line = 1; line < bad; ++line) detected += rated[line - 1];
    const std::string error = "Error in reading file long.csv !\n" + check;
    s.run_steps({{{kLearn, "--file", "long.csv"}, learned + error, 1, StateAfter::unchanged},
                 {{kDetect, "--file", "long.csv"}, detected + error, 1, StateAfter::unchanged}});
    // Lines before a range are read all the same.
    if (bad < 5000) {
      for (const std::string& command : {kLearn, kDetect}) {
        const std::string head = command == kLearn
                                     ? learning_head("long.csv")
                                     : report_head("detection", "1.00", "long.csv") + kResultsOpen;
        s.run_steps({{{command, "--file", "long.csv", "--begin", "5000", "--end", "6000"},
                      head + error,
                      1,
                      StateAfter::unchanged}});
      }
    }
  }
  // One line more than there are signals: the input runs out.
  s.write_file("short.csv", good + "\n");
  std::string learned = learning_head("short.csv");
  for (int line = 1; line <= kLongLines; ++line) learned += learn_entry(line + 12, line);
  std::string detected = report_head("detection", "1.00", "short.csv") + kResultsOpen;
  for (const std::string& entry : rated) detected += entry;
  detected.insert(detected.size() - 1, ",");  // the last signal read is not the last asked for
  const std::string ran_out =
      "Error: incompatibility between required and number of data in file short.csv !\n" + check;
  s.run_steps({{{kLearn, "--file", "short.csv"}, learned + ran_out, 1, StateAfter::unchanged},
               {{kDetect, "--file", "short.csv"}, detected + ran_out, 1, StateAfter::unchanged}});
}

// Long files are rated on the reading thread, from the first line of the
// range on: every range, whether it starts inside the first batch, on a batch
// boundary or near the end, rates each line as the whole file does.
TEST(SignalInput, RangesOfLongFilesRateEachLineAsTheWholeFileDoes) {
  Session s;
  learn_twelve(s);
  s.write_file("long.csv", varied_readings());
  const std::string before = *s.state();
  const std::vector<std::string> whole = rated_entries(s, "long.csv");
  ASSERT_EQ(whole.size(), static_cast<std::size_t>(kLongLines));
  std::vector<int> similarity(kLongLines + 1);
  for (int line = 1; line <= kLongLines; ++line) {
    const std::string& entry = whole[line - 1];
    similarity[line] = std::stoi(entry.substr(entry.find("\"similarity\": ") + 14));
  }
  struct Range {
    int begin, end;
  };
  for (const Range r :
       {Range{2, 9000}, Range{1025, 6000}, Range{4097, 4200}, Range{8990, 9000}, Range{1, 4095}}) {
    SCOPED_TRACE(std::to_string(r.begin) + ".." + std::to_string(r.end));
    s.write_state(before);
    const RunResult ranged = s.run({kDetect, "--file", "long.csv", "--begin",
                                    std::to_string(r.begin), "--end", std::to_string(r.end)});
    ASSERT_EQ(ranged.status, 0) << ranged.out.substr(0, 400);
    const std::vector<std::string> entries = entry_lines(ranged.out);
    ASSERT_EQ(entries.size(), static_cast<std::size_t>(r.end - r.begin + 1));
    for (int line = r.begin; line <= r.end; ++line) {
      ASSERT_EQ(entries[line - r.begin],
                detect_entry(line - r.begin + 1, line, similarity[line], line == r.end));
    }
  }
}

TEST(SignalInput, TheLastLineWithoutANewlineIsNeverRead) {
  Session s;
  s.run({kInit});
  s.write_file("open.csv", "1,2,3\n4,5,6\n7,8,9");
  s.write_file("oneline.csv", "1,2,3");
  s.run_steps({
      // The line count does not include the last line, which is never read.
      {{kLearn, "--file", "open.csv"},
       learning_head("open.csv") + learn_entry(1, 1) + learn_entry(2, 2, true) + kResultsClose +
           learning_tail(2),
       0},
      {{kLearn, "--file", "open.csv", "--begin", "1", "--end", "3"},
       "Error: argument --end is not compatible with the number of lines in file !\n",
       1},
      // No newline at all: no signal, and the results are closed all the same.
      {{kLearn, "--file", "oneline.csv"},
       learning_head("oneline.csv") + kResultsClose + learning_tail(2),
       0},
  });
}

TEST(SignalInput, DetectionTotalsCountAcrossInvocations) {
  Session s;
  learn_twelve(s);
  const std::string head = report_head("detection", "1.00", "array") + kResultsOpen;
  const RunResult first = s.run({kDetect, "--file", "train.csv"});
  ASSERT_EQ(first.status, 0);
  // The summaries count the entries as they were classified.
  int nominal = 0;
  for (size_t at = 0; (at = first.out.find("\"status\": \"nominal\"}", at)) != std::string::npos;
       ++at) {
    ++nominal;
  }
  EXPECT_NE(first.out.find("\t\t{\"signal\": 12, \"line\": 12, \"similarity\": "),
            std::string::npos);
  EXPECT_NE(first.out.find(kResultsClose + detection_results(12, nominal, 12 - nominal) +
                           totals_tail(12, 12, nominal, 12 - nominal)),
            std::string::npos)
      << first.out;
  // An array detection after 12 ratings is signal 13; this invocation rated 1.
  s.run_steps({
      {{kDetect, "--array", "50", "-40", "3"},
       head + detect_entry(13, 0, 0, true) + kResultsClose + detection_results(1, 0, 1) +
           totals_tail(12, 13, nominal, 13 - nominal),
       0,
       StateAfter::changed},
  });
}

// A model whose single merged cluster, measured by the largest coordinate
// difference (selectors 0 and 3), scores 90 / 0.29 x radius at distance 1.
std::string threshold_state(float radius) {
  StateImage image = StateImage::after_init();
  image.learned(10).u8(29, 0).u8(30, 3);
  image.f32(31 + 12, radius).u16(31 + 16, 2);
  return image.bytes();
}

TEST(SignalInput, SimilaritiesAbove89AreNominal) {
  Session s;
  s.write_state(threshold_state(0.29f * 90.01f / 90.0f));  // just above 90
  auto detect = [&](int similarity) {
    return report_head("detection", "1.00", "array") + kResultsOpen +
           detect_entry(1, 0, similarity, true) + kResultsClose +
           detection_results(1, similarity > 89 ? 1 : 0, similarity > 89 ? 0 : 1) +
           totals_tail(10, 1, similarity > 89 ? 1 : 0, similarity > 89 ? 0 : 1);
  };
  s.run_steps({{{kDetect, "--array", "1", "0", "0"}, detect(90), 0}});
  s.write_state(threshold_state(0.29f * 89.99f / 90.0f));
  s.run_steps({{{kDetect, "--array", "1", "0", "0"}, detect(89), 0}});

  // Ten signals counted by the front end but none learned by the engine: the
  // engine refuses, the similarity reads 255, and 255 counts as nominal.
  StateImage refused = StateImage::after_init();
  refused.i32(0, 10);
  s.write_state(refused.bytes());
  s.run_steps({{{kDetect, "--array", "1", "0", "0"}, detect(255), 0}});
}

}  // namespace
}  // namespace vtl::test
