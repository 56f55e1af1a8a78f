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

// Twelve distinct readings, one per line.
const std::string kTwelveLines =
    "0.30,0.20,9.81\n0.31,0.21,9.80\n0.29,0.19,9.82\n0.35,0.22,9.79\n0.28,0.18,9.83\n"
    "0.33,0.25,9.78\n0.30,0.15,9.81\n0.32,0.20,9.80\n0.27,0.23,9.82\n0.34,0.17,9.81\n"
    "0.31,0.24,9.79\n0.26,0.21,9.80\n";

std::string learning_head(const std::string& input) {
  return report_head("learning", "1.00", input) + kResultsOpen;
}
std::string detection_head(const std::string& input) {
  return report_head("detection", "1.00", input) + kResultsOpen;
}
// A whole learning report: its entries and the learned total.
std::string learned(const std::string& input, const std::string& entries, int total) {
  return learning_head(input) + entries + kResultsClose + kNullDetectionResults +
         totals_tail(total, 0, 0, 0);
}
const std::string kCheck = "Please check your file.\n" + kReadingTrailer;

// A session with the twelve readings learned.
void learn_twelve(Session& s) {
  s.run({kInit});
  s.write("train.csv", kTwelveLines);
  ASSERT_EQ(s.run({kLearn, "--file", "train.csv"}).status, 0);
}

TEST(SignalInput, AnArrayOfThreeValuesIsReadAsStrtodDoes) {
  Session s;
  s.run({kInit});
  const auto wrong_count = [](const std::string& size, int count) {
    return "Error the number of input data is too " + size +
           " !!!\nNumber of input data: " + std::to_string(count) + ", instead of 3\n";
  };
  s.run_steps({
      {{kLearn, "--array", "1", "2"}, wrong_count("small", 2), 1},
      {{kLearn, "--array"}, wrong_count("small", 0), 1},
      {{kLearn, "--array", "1", "2", "3", "4"}, wrong_count("large", 4), 1},
      {{kLearn, "--array", "1", "abc", "3"},
       learned("array", learn_entry(1, 0, true), 1),
       0,
       StateAfter::changed},
  });
  // "abc" reads as 0: the signal learned was (1, 0, 3), in slot 0.
  float center[3];
  std::memcpy(center, s.state()->data() + 31, sizeof center);
  EXPECT_EQ(center[0], 1.0f);
  EXPECT_EQ(center[1], 0.0f);
  EXPECT_EQ(center[2], 3.0f);
}

TEST(SignalInput, AFileIsReadWholeOrInItsRangeUpToItsLastNewline) {
  Session s;
  s.run({kInit});
  s.write("three.csv", "1,2,3\n4,5,6\n7,8,9\n");
  s.write("five.csv", "1,2,3\n4,5,6\n7,8,9\n1,1,1\n2,2,2\n");
  s.write("open.csv", "1,2,3\n4,5,6\n7,8,9");
  s.write("oneline.csv", "1,2,3");
  s.write("trailing.csv", "1,2,3\n4,5,6\n\n");
  s.write("space.csv", "1.0 ,2.0,3.0\n");
  s.write("halfway.csv", "1,2,3\n4,x,6\n7,8,9\n");
  const auto learn = [](const std::string& file) {
    return std::vector<std::string>{kLearn, "--file", file};
  };
  s.run_steps({
      {learn("three.csv"),
       learned("three.csv", learn_entry(1, 1) + learn_entry(2, 2) + learn_entry(3, 3, true), 3), 0,
       StateAfter::changed},
      {{kLearn, "--file", "five.csv", "--begin", "2", "--end", "3"},
       learned("five.csv", learn_entry(4, 2) + learn_entry(5, 3, true), 5),
       0,
       StateAfter::changed},
      {{kLearn, "--file", "five.csv", "--end", "5", "--begin", "5"},
       learned("five.csv", learn_entry(6, 5, true), 6),
       0,
       StateAfter::changed},
      // The line count leaves out the last line without a newline, which is never read.
      {learn("open.csv"), learned("open.csv", learn_entry(7, 1) + learn_entry(8, 2, true), 8), 0},
      {{kLearn, "--file", "open.csv", "--begin", "1", "--end", "3"},
       "Error: argument --end is not compatible with the number of lines in file !\n",
       1},
      // No newline at all: no signal, and the results are closed all the same.
      {learn("oneline.csv"), learned("oneline.csv", "", 8), 0},
      // Reading errors leave the report open. An empty last line counts as a
      // line, but holds no signal.
      {learn("trailing.csv"),
       learning_head("trailing.csv") + learn_entry(9, 1) + learn_entry(10, 2) +
           "Error: incompatibility between required and number of data in file trailing.csv !\n" +
           kCheck,
       1},
      {learn("space.csv"),
       learning_head("space.csv") + "Error in reading file space.csv !\n" + kCheck, 1},
      {learn("halfway.csv"),
       learning_head("halfway.csv") + learn_entry(9, 1) + "Error in reading file halfway.csv !\n" +
           kCheck,
       1},
  });
}

TEST(SignalInput, ABadRangeIsRefusedWithItsOwnMessage) {
  Session s;
  s.run({kInit});
  s.write("five.csv", "1,2,3\n4,5,6\n7,8,9\n1,1,1\n2,2,2\n");
  s.write("empty.csv", "");
  const std::string incompatible =
      "Error: arguments --begin and --end are not compatible !\n"
      "End line number must be >= to begin line number\n";
  const std::string bad_begin =
      "Error: argument --begin is not correct !\nBegin line number must be > 0\n";
  const std::string bad_end =
      "Error: argument --end is not correct !\nEnd line number must be > 0\n";
  const std::string too_far =
      "Error: argument --end is not compatible with the number of lines in file !\n";
  const std::string cannot_open =
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
      {learn("--begin", "1", "--end", "6"), too_far, 1},
      // Beyond 32 bits only the low 32 bits count: 2^32 + 6 is 6, -2^31 - 1 is
      // 2^31 - 1 (above --end 5), and strtol's limit 2^63 - 1, which every
      // larger number gives, is -1.
      {learn("--begin", "1", "--end", "4294967302"), too_far, 1},
      {learn("--begin", "-2147483648", "--end", "2"), bad_begin, 1},
      {learn("--begin", "-2147483649", "--end", "5"), incompatible, 1},
      {learn("--begin", "1", "--end", "99999999999999999999"), bad_end, 1},
      {learn("--begin", "1", "--stop", "2"), invalid, 1},
      {learn("--begin", "1", "--begin", "2"), invalid, 1},
      {learn("--end", "2", "--end", "3"), invalid, 1},
      {{kLearn, "--file", "nothere.csv"}, cannot_open, 1},
      {{kLearn, "--file", "."}, cannot_open, 1},
      {{kLearn, "--file", "empty.csv"}, "Error: file is empty !\n", 1},
  });
  // 2^32 + 2 and 2^33 + 3 are lines 2 and 3, reported and learned as such.
  Session plain;
  plain.run({kInit});
  plain.write("five.csv", s.read("five.csv"));
  const Result wrapped = s.run(learn("--begin", "4294967298", "--end", "8589934595"));
  EXPECT_EQ(wrapped.status, 0);
  EXPECT_EQ(wrapped.out, plain.run(learn("--begin", "2", "--end", "3")).out);
  EXPECT_EQ(s.state(), plain.state());
}

// The state file after init and learning the given file text.
std::optional<std::string> model_learned_from(const std::string& text) {
  Session s;
  s.run({kInit});
  s.write("s.csv", text);
  EXPECT_EQ(s.run({kLearn, "--file", "s.csv"}).status, 0);
  return s.state();
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
    SCOPED_TRACE(std::to_string(bytes.size()) + " bytes");
    s.write("lines.csv", bytes);
    const int fd = ::open((s / "lines.csv").c_str(), O_RDONLY);
    EXPECT_EQ(count_lines(fd), std::count(bytes.begin(), bytes.end(), '\n'));
    char first = 0;  // read again from the start
    EXPECT_EQ(::read(fd, &first, 1), bytes.empty() ? 0 : 1);
    EXPECT_EQ(first, bytes.empty() ? 0 : bytes[0]);
    ::close(fd);
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

// The entry lines of a report, each with its newline.
std::vector<std::string> entry_lines(const std::string& report) {
  std::vector<std::string> entries;
  for (std::size_t at = 0, end; at < report.size(); at = end) {
    end = report.find('\n', at) + 1;
    if (report.compare(at, 11, "\t\t{\"signal\"") == 0)
      entries.push_back(report.substr(at, end - at));
  }
  return entries;
}

// Readings near the learned ones and farther out, nominal and anomalous.
std::string varied_reading(int line) {
  return std::to_string(0.25 + (line % 97) * 0.002) + ",0.20,9.81\n";
}

// Long enough for the second thread and for nine batches of 1024 signals.
constexpr int kLongLines = 9000;

// The varied readings, with `bad` in place of line `bad_line`.
std::string varied_readings(int bad_line = 0, const std::string& bad = "") {
  std::string text;
  for (int line = 1; line <= kLongLines; ++line)
    text += line == bad_line ? bad : varied_reading(line);
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
  const std::string good = varied_readings();
  s.write("good.csv", good);
  const std::vector<std::string> rated = rated_entries(s, "good.csv");
  ASSERT_EQ(rated.size(), static_cast<std::size_t>(kLongLines));
  for (const std::string status : {"nominal", "anomaly"}) {
    ASSERT_TRUE(std::any_of(rated.begin(), rated.end(), [&](const std::string& entry) {
      return entry.find(status) != std::string::npos;
    })) << status;
  }
  const std::string error = "Error in reading file long.csv !\n" + kCheck;
  for (int bad : {1, 1024, 1025, 4096, 4097, 8999, 9000}) {
    SCOPED_TRACE(bad);
    s.write("long.csv", varied_readings(bad, "1,x,3\n"));
    std::string learned = learning_head("long.csv");
    std::string detected = detection_head("long.csv");
    for (int line = 1; line < bad; ++line) {
      learned += learn_entry(line + 12, line);
      detected += rated[line - 1];
    }
    std::vector<Step> steps = {{{kLearn, "--file", "long.csv"}, learned + error, 1},
                               {{kDetect, "--file", "long.csv"}, detected + error, 1}};
    // Lines before a range are read all the same.
    for (const std::string& command : {kLearn, kDetect}) {
      if (bad >= 5000) break;
      steps.push_back(
          {{command, "--file", "long.csv", "--begin", "5000", "--end", "6000"},
           (command == kLearn ? learning_head("long.csv") : detection_head("long.csv")) + error,
           1});
    }
    s.run_steps(steps);
  }
  // One line more than there are signals: the input runs out.
  s.write("short.csv", good + "\n");
  std::string learned = learning_head("short.csv");
  for (int line = 1; line <= kLongLines; ++line) learned += learn_entry(line + 12, line);
  std::string detected = detection_head("short.csv");
  for (const std::string& entry : rated) detected += entry;
  detected.insert(detected.size() - 1, ",");  // the last signal read is not the last asked for
  const std::string ran_out =
      "Error: incompatibility between required and number of data in file short.csv !\n" + kCheck;
  s.run_steps({{{kLearn, "--file", "short.csv"}, learned + ran_out, 1},
               {{kDetect, "--file", "short.csv"}, detected + ran_out, 1}});
}

// Long files are rated on the reading thread, from the first line of the
// range on: every range, whether it starts inside the first batch, on a batch
// boundary or near the end, rates each line as the whole file does.
TEST(SignalInput, RangesOfLongFilesRateEachLineAsTheWholeFileDoes) {
  Session s;
  learn_twelve(s);
  s.write("long.csv", varied_readings());
  const std::string before = *s.state();
  const std::vector<std::string> whole = rated_entries(s, "long.csv");
  ASSERT_EQ(whole.size(), static_cast<std::size_t>(kLongLines));
  for (const auto& [begin, end] : std::vector<std::pair<int, int>>{
           {2, 9000}, {1025, 6000}, {4097, 4200}, {8990, 9000}, {1, 4095}}) {
    SCOPED_TRACE(std::to_string(begin) + ".." + std::to_string(end));
    s.write_state(before);
    const Result ranged = s.run({kDetect, "--file", "long.csv", "--begin", std::to_string(begin),
                                 "--end", std::to_string(end)});
    ASSERT_EQ(ranged.status, 0) << ranged.out.substr(0, 400);
    const std::vector<std::string> entries = entry_lines(ranged.out);
    ASSERT_EQ(entries.size(), static_cast<std::size_t>(end - begin + 1));
    for (int line = begin; line <= end; ++line) {
      const std::string& entry = whole[line - 1];
      const int similarity = std::stoi(entry.substr(entry.find("\"similarity\": ") + 14));
      ASSERT_EQ(entries[line - begin],
                detect_entry(line - begin + 1, line, similarity, line == end));
    }
  }
}

TEST(SignalInput, DetectionTotalsCountAcrossInvocations) {
  Session s;
  learn_twelve(s);
  const Result first = s.run({kDetect, "--file", "train.csv"});
  ASSERT_EQ(first.status, 0);
  // The summaries count the entries as they were classified.
  const std::vector<std::string> entries = entry_lines(first.out);
  ASSERT_EQ(entries.size(), 12u);
  EXPECT_TRUE(entries[11].starts_with("\t\t{\"signal\": 12, \"line\": 12, ")) << entries[11];
  const int nominal = static_cast<int>(std::count_if(entries.begin(), entries.end(), [](auto& e) {
    return e.find("\"status\": \"nominal\"}") != std::string::npos;
  }));
  EXPECT_TRUE(first.out.ends_with(kResultsClose + detection_results(12, nominal, 12 - nominal) +
                                  totals_tail(12, 12, nominal, 12 - nominal)))
      << first.out;
  // An array detection after 12 ratings is signal 13; this invocation rated 1.
  s.run_steps({{{kDetect, "--array", "50", "-40", "3"},
                detection_head("array") + detect_entry(13, 0, 0, true) + kResultsClose +
                    detection_results(1, 0, 1) + totals_tail(12, 13, nominal, 13 - nominal),
                0,
                StateAfter::changed}});
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
  // Ten signals counted by the front end but none learned by the engine: the
  // engine refuses, the similarity reads 255, and 255 counts as nominal.
  const std::string refused = StateImage::after_init().i32(0, 10).bytes();
  for (const auto& [state, similarity] :
       std::vector<std::pair<std::string, int>>{{threshold_state(0.29f * 90.01f / 90.0f), 90},
                                                {threshold_state(0.29f * 89.99f / 90.0f), 89},
                                                {refused, 255}}) {
    Session s;
    s.write_state(state);
    const int nominal = similarity > 89 ? 1 : 0;
    s.run_steps(
        {{{kDetect, "--array", "1", "0", "0"},
          detection_head("array") + detect_entry(1, 0, similarity, true) + kResultsClose +
              detection_results(1, nominal, 1 - nominal) + totals_tail(10, 1, nominal, 1 - nominal),
          0}});
  }
}

}  // namespace
}  // namespace vtl::test
