#include "cli/dispatcher.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cli/file_handle.h"
#include "cli/front_state.h"
#include "cli/messages.h"
#include "cli/report.h"
#include "cli/signal_input.h"
#include "engine/interface.h"
#include "persist/knowledge_file.h"
#include "persist/state_file.h"

namespace vtl {

namespace {

FileHandle open_state_file(const char* mode) { return FileHandle(std::fopen(kStateFileName, mode)); }

void load_state_into_globals(std::FILE* file) {
  ReportTotals totals = report_totals();
  load_state(file, totals);
  set_report_totals(totals);
}

// Saves into an open state file and closes it; false (after the error line)
// when the state could not be written.
bool save_and_close(FileHandle file) {
  const bool saved = save_state(file.get(), report_totals());
  const bool closed = std::fclose(file.release()) == 0;
  if (saved && closed) return true;
  print_state_write_error();
  return false;
}

// The "wb" opens of init, knowledge and set_sensitivity: a state file that
// cannot be created is reported before anything else is printed, and an
// existing one is then left as it was.
FileHandle create_state_file() {
  FileHandle file = open_state_file("wb");
  if (!file) print_state_write_error();
  return file;
}

void print_too_many_arguments(const char* valid_call) {
  print_line("Error: too many arguments Vantelo Emulator call !");
  std::printf("Valid call is: %s\n", valid_call);
  print_documentation_trailer();
}

int run_init(int argc) {
  if (argc > 2) {
    print_too_many_arguments("vtl_anomalydetection_init");
    return 1;
  }
  vtl_anomalydetection_init();
  FileHandle state = create_state_file();
  if (!state) return 1;
  print_initialization_report();
  return save_and_close(std::move(state)) ? 0 : 1;
}

int run_get_version(int argc) {
  if (argc > 2) {
    print_too_many_arguments("vtl_anomalydetection_get_version");
    return 1;
  }
  FileHandle state = open_state_file("rb");
  if (!state) {
    print_version_report(false);
    return 0;
  }
  load_state_into_globals(state.get());
  state.reset();
  print_version_report(true);
  return 0;
}

// Opens and imports the knowledge file named by argv[3]; 0 or 1 as the exit status.
int import_named_knowledge(int argc, char** argv) {
  input_arg_index = 3;
  FileHandle knowledge =
      open_input_file(argc > 3 ? argv[input_arg_index] : nullptr, "knowledge file");
  if (!knowledge) return 1;
  const unsigned result = import_knowledge_file(knowledge.get(), &learned_total) & 0xFFu;
  if (result != 0) {
    std::printf("Error: a knowledge that do not match the library has been loaded %u !\n", result);
    return 1;
  }
  return 0;
}

int run_knowledge(int argc, char** argv) {
  FileHandle state = open_state_file("rb+");
  if (!state) {
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
  load_state_into_globals(state.get());
  state.reset();
  // Any other second argument imports nothing: the state is saved back as it
  // was loaded and the report names no input file.
  const bool has_path = std::strcmp(argv[2], "--knowledge_path") == 0;
  if (has_path && import_named_knowledge(argc, argv) != 0) return 1;
  state = create_state_file();
  if (!state || !save_and_close(std::move(state))) return 1;
  print_load_knowledge_report(has_path ? argv[input_arg_index] : nullptr);
  return 0;
}

int run_set_sensitivity(int argc, char** argv) {
  if (argc != 3) {
    print_line("Error: missing or too many arguments Vantelo Emulator call !");
    print_line("Valid call is: vtl_anomalydetection_set_sensitivity value");
    print_documentation_trailer();
    return 1;
  }
  const float value = static_cast<float>(std::strtod(argv[2], nullptr));
  FileHandle state = open_state_file("rb");
  if (!state) {
    print_state_missing();
    return 1;
  }
  load_state_into_globals(state.get());
  state.reset();
  vtl_anomalydetection_set_sensitivity(value);
  state = create_state_file();
  if (!state) return 1;
  print_sensitivity_update_report();
  return save_and_close(std::move(state)) ? 0 : 1;
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
  if (static_cast<std::uint32_t>(learned_total) < static_cast<std::uint32_t>(kMinimumLearnedSignals)) {
    std::printf("Error: not enough signals learned. %d signals learned up to now !\n", learned_total);
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

// learn and detect share one flow: the state file is opened "rb+", loaded,
// rewound, and overwritten from its start after the report.
int run_signal_command(Command command, int argc, char** argv) {
  if (command == Command::detect) {
    detected_now = 0;
    nominal_now = 0;
    anomaly_now = 0;
  }
  FileHandle state = open_state_file("rb+");
  if (!state) {
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
  load_state_into_globals(state.get());
  std::fseek(state.get(), 0, SEEK_SET);
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
  return save_and_close(std::move(state)) ? 0 : 1;
}

}  // namespace

int run_emulator(int argc, char** argv) {
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
  std::printf("Error '%s' is not a valid function in Vantelo Emulator !\n", name);
  print_general_usage();
  print_documentation_trailer();
  return 1;
}

}  // namespace vtl
