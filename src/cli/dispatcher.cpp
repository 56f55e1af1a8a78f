#include "cli/dispatcher.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "base/exact_float.h"
#include "cli/front_state.h"
#include "cli/input_file.h"
#include "cli/messages.h"
#include "cli/output.h"
#include "cli/report.h"
#include "cli/signal_input.h"
#include "engine/interface.h"
#include "persist/file_io.h"
#include "persist/knowledge_file.h"
#include "persist/state_file.h"
#include "persist/state_store.h"

namespace vtl {

namespace {

// The state file of one invocation: locked from before the load until after
// the save, and replaced only once the whole report reached standard output.
class StateFile {
 public:
  explicit StateFile(StateStore::Lock lock) { store_.lock(lock); }

  // False when there is no usable state file; for_update also asks that it
  // could be written in place.
  bool open(bool for_update) { return store_.open_existing(for_update); }

  void load() {
    std::uint8_t image[kStateFileSize];
    const std::size_t length = store_.read_start(image, sizeof image);
    ReportTotals totals = report_totals();
    decode_state(image, length, totals);
    set_report_totals(totals);
  }

  // Writes the new state aside (synced when VANTELO_SYNC asks); the error line when that failed.
  // keep_tail keeps the bytes after the state, as a save in place would.
  bool prepare(bool keep_tail) {
    std::uint8_t image[kStateFileSize];
    encode_state(report_totals(), image);
    if (store_.prepare(image, sizeof image, keep_tail)) return true;
    print_state_write_error();
    return false;
  }

  // Once every byte of the report has been written, the prepared state
  // replaces the old one; the exit status.
  int commit_after_report() {
    if (!out().flush()) return 1;
    if (store_.commit()) return 0;
    print_state_write_error();
    return 1;
  }

 private:
  StateStore store_{kStateFileName};
};

void print_too_many_arguments(const char* valid_call) {
  print_line("Error: too many arguments Vantelo Emulator call !");
  out().text("Valid call is: ");
  out().line(valid_call);
  print_documentation_trailer();
}

int run_init(int argc) {
  if (argc > 2) {
    print_too_many_arguments("vtl_anomalydetection_init");
    return 1;
  }
  StateFile state(StateStore::Lock::exclusive);
  vtl_anomalydetection_init();
  // A state file that cannot be replaced is reported before the report.
  if (!state.prepare(false)) return 1;
  print_initialization_report();
  return state.commit_after_report();
}

int run_get_version(int argc) {
  if (argc > 2) {
    print_too_many_arguments("vtl_anomalydetection_get_version");
    return 1;
  }
  StateFile state(StateStore::Lock::shared);
  const bool loaded = state.open(false);
  if (loaded) state.load();
  print_version_report(loaded);
  return 0;
}

// Opens and imports the knowledge file named by argv[3]; 0 or 1 as the exit status.
int import_named_knowledge(int argc, char** argv) {
  input_arg_index = 3;
  InputFile knowledge;
  if (!knowledge.open(argc > 3 ? argv[input_arg_index] : nullptr, "knowledge file")) return 1;
  std::uint8_t record[kKnowledgeFileSize];
  const std::size_t length = read_up_to(knowledge.fd(), record, sizeof record);
  const unsigned result = import_knowledge_file(record, length, &learned_total) & 0xFFu;
  if (result != 0) {
    out().text("Error: a knowledge that do not match the library has been loaded ");
    out().decimal(static_cast<std::int32_t>(result));
    out().line(" !");
    return 1;
  }
  return 0;
}

int run_knowledge(int argc, char** argv) {
  StateFile state(StateStore::Lock::exclusive);
  if (!state.open(true)) {
    print_state_missing();
    return 1;
  }
  if (argc == 2) {
    print_line("Error: missing argument in Vantelo load knowledge function call !");
    print_line("Valid Vantelo load knowledge function calls is:");
    print_line("\tvtl_anomalydetection_knowledge --knowledge_path filename");
    print_documentation_trailer();
    return 1;
  }
  state.load();
  // Any other second argument imports nothing: the state is saved back as it
  // was loaded and the report names no input file.
  const bool has_path = std::strcmp(argv[2], "--knowledge_path") == 0;
  if (has_path && import_named_knowledge(argc, argv) != 0) return 1;
  if (!state.prepare(false)) return 1;
  print_load_knowledge_report(has_path ? argv[input_arg_index] : nullptr);
  return state.commit_after_report();
}

int run_set_sensitivity(int argc, char** argv) {
  if (argc != 3) {
    print_line("Error: missing or too many arguments Vantelo Emulator call !");
    print_line("Valid call is: vtl_anomalydetection_set_sensitivity value");
    print_documentation_trailer();
    return 1;
  }
  const float value = static_cast<float>(std::strtod(argv[2], nullptr));
  StateFile state(StateStore::Lock::exclusive);
  if (!state.open(false)) {
    print_state_missing();
    return 1;
  }
  state.load();
  vtl_anomalydetection_set_sensitivity(value);
  if (!state.prepare(false)) return 1;
  print_sensitivity_update_report();
  return state.commit_after_report();
}

void print_missing_signal_argument(Command command) {
  print_line(command == Command::learn
                 ? "Error: missing argument in Vantelo learning function call !"
                 : "Error: missing argument in Vantelo detection function call !");
}

void print_wrong_by_file_count(Command command) {
  if (command == Command::learn) {
    print_line("Error: missing or not valid argument in Vantelo learning function call by file !");
    print_line("Valid Vantelo learning function calls by file are:");
  } else {
    print_line("Error: missing or not valid argument in Vantelo detection function call by file !");
    print_line("Valid Vantelo detection function calls by file are:");
  }
  print_usage_lines(command, 2);
  print_documentation_trailer();
}

// Detection needs at least 10 learned signals, counted by the front end.
bool detection_allowed() {
  if (learned_total == 0) {
    print_line(
        "Error: no learning was done, please run vtl_anomalydetecion_learn function to "
        "continue !");
    print_documentation_trailer();
    return false;
  }
  if (static_cast<std::uint32_t>(learned_total) <
      static_cast<std::uint32_t>(kMinimumLearnedSignals)) {
    out().text("Error: not enough signals learned. ");
    out().decimal(learned_total);
    out().line(" signals learned up to now !");
    print_documentation_trailer();
    return false;
  }
  return true;
}

void process_array_signal(Command command) {
  if (command == Command::learn) {
    vtl_anomalydetection_learn(input_buffer);
    increment_counter(learned_total);
    print_report_head(ReportStatus::learning, &sensitivity, ReportInput::array);
    print_results_open();
    print_learn_entry(learned_total, nullptr, true);
    print_results_close();
    print_report_tail(false, true);
    return;
  }
  vtl_anomalydetection_detect(input_buffer, &similarity);
  increment_counter(detected_total);
  ++detected_now;
  print_report_head(ReportStatus::detection, &sensitivity, ReportInput::array);
  print_results_open();
  const bool nominal = similarity > kNominalThreshold;
  print_detect_entry(detected_total, nullptr, similarity, nominal, true);
  count_classification(nominal);
  print_results_close();
  print_report_tail(true, true);
}

// learn and detect share one flow: the state file is loaded, the signals are
// processed while the report is printed, and the state is saved after it,
// keeping any bytes after the state.
int run_signal_command(Command command, int argc, char** argv) {
  if (command == Command::detect) {
    detected_now = 0;
    nominal_now = 0;
    anomaly_now = 0;
  }
  StateFile state(StateStore::Lock::exclusive);
  if (!state.open(true)) {
    print_state_missing();
    return 1;
  }
  if (argc == 2) {
    print_missing_signal_argument(command);
    if (command == Command::learn) {
      print_line("Valid Vantelo learning function calls are:");
      print_usage_lines(command, 3);
    } else {
      print_line("Valid Vantelo detection function calls are:");
      print_bare_detect_usage_lines();
    }
    print_documentation_trailer();
    return 1;
  }
  state.load();
  if (command == Command::detect && !detection_allowed()) return 1;

  if (std::strcmp(argv[2], "--file") == 0) {
    if (argc != 4 && argc != 8) {
      print_wrong_by_file_count(command);
      return 1;
    }
    if (read_signal_file(command, argc, argv) != 0) return 1;
  } else if (std::strcmp(argv[2], "--array") == 0) {
    if (!read_array_values(argc, argv)) return 1;
    process_array_signal(command);
  } else {
    print_missing_signal_argument(command);
    print_usage_lines(command, 3);
    print_documentation_trailer();
    return 1;
  }
  if (!state.prepare(true)) return 1;
  return state.commit_after_report();
}

int run_command(int argc, char** argv) {
  if (argc <= 1) {
    print_line("Error: missing argument in Vantelo Emulator call !");
    print_general_usage();
    print_documentation_trailer();
    return 1;
  }
  const char* name = argv[1];
  if (std::strcmp(name, "vtl_anomalydetection_init") == 0) return run_init(argc);
  if (std::strcmp(name, "vtl_anomalydetection_get_version") == 0) return run_get_version(argc);
  if (std::strcmp(name, "vtl_anomalydetection_knowledge") == 0) return run_knowledge(argc, argv);
  if (std::strcmp(name, "vtl_anomalydetection_learn") == 0) {
    return run_signal_command(Command::learn, argc, argv);
  }
  if (std::strcmp(name, "vtl_anomalydetection_set_sensitivity") == 0) {
    return run_set_sensitivity(argc, argv);
  }
  if (std::strcmp(name, "vtl_anomalydetection_detect") == 0) {
    return run_signal_command(Command::detect, argc, argv);
  }
  out().text("Error '");
  out().text(name);
  out().line("' is not a valid function in Vantelo Emulator !");
  print_general_usage();
  print_documentation_trailer();
  return 1;
}

}  // namespace

int run_emulator(int argc, char** argv) {
  int status = run_command(argc, argv);
  if (!out().flush()) {
    report_output_failure(out().error_number());
    status = 1;
  }
  return status;
}

void prepare_process() {
  // A closed standard descriptor is reopened on /dev/null before any file is
  // opened, so that no file can take its number; a closed standard output
  // still counts as a failed report.
  for (int fd = 0; fd <= 2; ++fd) {
    if (::fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
    const int reopened = ::open("/dev/null", O_RDWR);
    if (reopened != fd && reopened >= 0) ::close(reopened);
    if (fd == 1) out().fail(EBADF);
  }
  // A reader that went away is reported like any other output error.
  std::signal(SIGPIPE, SIG_IGN);
  // Undo flush-to-zero, in case a library built with -ffast-math turned it on.
  use_exact_float_environment();
}

}  // namespace vtl
