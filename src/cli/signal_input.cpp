#include "cli/signal_input.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "cli/background_learner.h"
#include "cli/float_scanner.h"
#include "cli/front_state.h"
#include "cli/input_file.h"
#include "cli/output.h"
#include "cli/report.h"
#include "cli/signal_pipeline.h"
#include "engine/interface.h"
#include "engine/learning.h"

namespace vtl {

namespace {

constexpr int kSignalValues = 3;

// strtol in base 10 (a 64-bit long, saturated at its limits) stored in a
// signed 32-bit integer, which keeps the low 32 bits: 4294967297 reads as 1.
std::int32_t parse_line_number(const char* text) {
  const long value = std::strtol(text, nullptr, 10);
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

void print_incompatible_range() {
  print_line("Error: arguments --begin and --end are not compatible !");
  print_line("End line number must be >= to begin line number");
}

void print_invalid_by_file_option(Command command) {
  print_line(
      command == Command::learn
          ? "Error: missing or not valid argument in Vantelo learning function call by file !"
          : "Error: missing or not valid argument in Vantelo detection function call by file !");
  print_usage_lines(command, 2);
  print_documentation_trailer();
}

// Applies the two option/value pairs of the 8-argument form, in argument order.
bool apply_range_options(Command command, char** argv, const InputFile& file, std::int32_t& first,
                         std::int32_t& last) {
  bool begin_seen = false;
  bool end_seen = false;
  for (int option_index = 4; option_index <= 6; option_index += 2) {
    const char* option = argv[option_index];
    const std::int32_t value = parse_line_number(argv[option_index + 1]);
    // A repeated option leaves the other one unset: such a call lacks an argument.
    const bool is_begin = std::strcmp(option, "--begin") == 0 && !begin_seen;
    const bool is_end = std::strcmp(option, "--end") == 0 && !end_seen;
    if (!is_begin && !is_end) {
      print_invalid_by_file_option(command);
      return false;
    }
    (is_begin ? first : last) = value;
    if (value < 1) {
      print_line(is_begin ? "Error: argument --begin is not correct !"
                          : "Error: argument --end is not correct !");
      print_line(is_begin ? "Begin line number must be > 0" : "End line number must be > 0");
      return false;
    }
    // Whichever comes second checks the pair.
    if ((is_begin ? end_seen : begin_seen) && first > last) {
      print_incompatible_range();
      return false;
    }
    (is_begin ? begin_seen : end_seen) = true;
    if (is_end && (line_count = count_lines(file.fd())) < last) {
      print_line("Error: argument --end is not compatible with the number of lines in file !");
      return false;
    }
  }
  return true;
}

void print_reading_error(bool at_input_end, const char* file_name) {
  out().text(at_input_end ? "Error: incompatibility between required and number of data in file "
                          : "Error in reading file ");
  out().text(file_name);
  out().line(" !");
  print_line("Please check your file.");
  print_reading_error_trailer();
}

void learn_signal(BackgroundLearner& learner, std::int32_t last) {
  learner.learn(input_buffer);
  ++current_line;
  increment_counter(learned_total);
  print_learn_entry(learned_total, &current_line, current_line == last);
}

// Reports a signal the pipeline has rated into similarity.
void report_detection(std::int32_t last) {
  ++detected_now;
  ++current_line;
  increment_counter(detected_total);
  const bool nominal = similarity > kNominalThreshold;
  print_detect_entry(detected_total, &current_line, similarity, nominal, current_line == last);
  count_classification(nominal);
}

}  // namespace

bool read_array_values(int argc, char** argv) {
  const int count = argc - 3;
  if (count != kSignalValues) {
    print_line(count < kSignalValues ? "Error the number of input data is too small !!!"
                                     : "Error the number of input data is too large !!!");
    out().text("Number of input data: ");
    out().decimal(count);
    out().text(", instead of ");
    out().decimal(kSignalValues);
    out().character('\n');
    return false;
  }
  for (int v = 0; v < kSignalValues; ++v) {
    input_buffer[v] = static_cast<float>(std::strtod(argv[3 + v], nullptr));
  }
  return true;
}

namespace {

// Newlines in a block. The counts are gathered in a byte, 255 bytes at a
// time, so that the compiler can compare many bytes at once: on files of
// short lines this is several times faster than finding each newline.
std::int64_t newlines_in(const unsigned char* block, std::size_t size) {
  constexpr std::size_t kRun = 255;  // a byte's count cannot overflow in a run
  std::int64_t newlines = 0;
  std::size_t i = 0;
  while (i < size) {
    const std::size_t run_end = size - i > kRun ? i + kRun : size;
    unsigned char in_run = 0;
    for (; i < run_end; ++i) in_run = static_cast<unsigned char>(in_run + (block[i] == '\n'));
    newlines += in_run;
  }
  return newlines;
}

}  // namespace

std::int32_t count_lines(int fd) {
  unsigned char block[1 << 16];
  std::int64_t newlines = 0;
  for (;;) {
    const ssize_t got = ::read(fd, block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    newlines += newlines_in(block, static_cast<std::size_t>(got));
  }
  ::lseek(fd, 0, SEEK_SET);
  return newlines > INT32_MAX ? INT32_MAX : static_cast<std::int32_t>(newlines);
}

int read_signal_file(Command command, int argc, char** argv) {
  input_arg_index = 3;
  const char* file_name = argv[input_arg_index];
  InputFile file;
  if (!file.open(file_name, "file")) return 1;

  const bool learning = command == Command::learn;
  std::int32_t& first = learning ? learn_first_line : detect_first_line;
  std::int32_t& last = learning ? learn_last_line : detect_last_line;
  if (argc == 4) {
    first = 1;
    line_count = count_lines(file.fd());
    last = line_count;
  } else if (!apply_range_options(command, argv, file, first, last)) {
    return 1;
  }

  current_line = first - 1;
  print_report_head(learning ? ReportStatus::learning : ReportStatus::detection, &sensitivity,
                    ReportInput::file, file_name);
  print_results_open();
  // Numbers are read three at a time, each as fscanf("%f") reads it and
  // followed by one consumed character, whatever it is.
  // Learning runs the engine on a second thread and reads and prints on this
  // one; detection reads and rates on a second thread and prints on this one.
  // The pair distances of the learning passes are written once, at the end.
  DeferredPairDistances deferred;
  BackgroundLearner learner(learning ? last - (first - 1) : 0);
  // Made last, so that its thread, which rates with the engine, is stopped
  // first, before anything here touches the engine again.
  ByteReader source(file.fd());
  SignalPipeline signals(source, last > 0 ? last : 0, !learning,
                         learning ? nullptr : &vtl_anomalydetection_detect, first - 1);
  bool closed = false;
  for (std::int32_t i = 0; i < last; ++i) {
    if (!signals.next(input_buffer, &similarity)) {
      print_reading_error(signals.ended_in_input_end(), file_name);
      return 1;
    }
    if (i < first - 1) continue;  // lines before the range are read and discarded
    if (learning) {
      learn_signal(learner, last);
    } else {
      report_detection(last);
    }
    if (current_line == last) {
      print_results_close();
      closed = true;
    }
    if (out().failed()) return 1;  // the report is lost: no point reading on
  }
  // A range without any signal (a file without a newline) still closes its
  // results, so that the report stays well-formed.
  if (!closed) print_results_close();
  learner.finish();
  print_report_tail(!learning, true);
  return 0;
}

}  // namespace vtl
