#pragma once
// The front end's fixed texts: the build identifier, the documentation
// addresses and the message blocks that several commands print.

namespace vtl {

inline constexpr const char* kStateFileName = "Vantelo.dat";
inline constexpr const char* kBuildIdentifier = "5e2a9c4f7b1d3e8a6c0f2b4d";  // 24 hex digits
inline constexpr float kDefaultSensitivity = 1.0f;
inline constexpr int kMinimumLearnedSignals = 10;
inline constexpr int kNominalThreshold = 89;  // a similarity above it is nominal

inline constexpr const char* kDocumentationAddress = "https://docs.vantelo.example/emulator";
inline constexpr const char* kAnomalyDetectionDocAddress =
    "https://docs.vantelo.example/emulator/anomaly-detection";

enum class Command { learn, detect };

void print_line(const char* text);  // the text and a newline, on standard output
void print_documentation_trailer();
void print_reading_error_trailer();
void print_general_usage();
void print_state_missing();
// The usage lines of learn or detect; `count` is 2 (the by-file forms) or 3.
void print_usage_lines(Command command, int count);
// The detect usage lines as the bare detect error spells them.
void print_bare_detect_usage_lines();
void print_state_write_error();

}  // namespace vtl
