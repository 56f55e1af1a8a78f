#pragma once
// The emulator's fixed texts as users see them, for exact comparison.

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

namespace vtl::test {

inline const std::string kInit = "vtl_anomalydetection_init";
inline const std::string kGetVersion = "vtl_anomalydetection_get_version";
inline const std::string kKnowledge = "vtl_anomalydetection_knowledge";
inline const std::string kLearn = "vtl_anomalydetection_learn";
inline const std::string kSensitivity = "vtl_anomalydetection_set_sensitivity";
inline const std::string kDetect = "vtl_anomalydetection_detect";

inline const std::string kVersion = "5e2a9c4f7b1d3e8a6c0f2b4d";
inline const std::string kTrailer =
    "Refer to Vantelo Emulator documentation for more details:\n"
    "https://docs.vantelo.example/emulator\n";
inline const std::string kReadingTrailer =
    "Refer to Vantelo Emulator documentation for more details:\n"
    "https://docs.vantelo.example/emulator/anomaly-detection\n";
inline const std::string kGeneralUsage =
    "Valid functions in Vantelo Emulator call are:\n"
    "\tvtl_anomalydetection_init\n"
    "\tvtl_anomalydetection_get_version\n"
    "\tvtl_anomalydetection_knowledge\n"
    "\tvtl_anomalydetection_learn\n"
    "\tvtl_anomalydetection_set_sensitivity\n"
    "\tvtl_anomalydetection_detect\n";
inline const std::string kStateMissing =
    "Error: please run vtl_anomalydetection_init function to continue !\n" + kTrailer;
inline const std::string kArrayUsageTail =
    " --array value1 value2 ... valueN (where value1 to valueN are the values of the input "
    "buffer)\n";
inline std::string usage_lines(const std::string& command, int count) {
  std::string text = "\t" + command + " --file filename --begin line --end line\n" + "\t" +
                     command + " --file filename\n";
  if (count == 3) text += "\t" + command + kArrayUsageTail;
  return text;
}
inline const std::string kLearnUsage = usage_lines("vtl_anomalydetection_learn", 3);
inline const std::string kDetectUsage = usage_lines("vtl_anomalydetection_detect", 3);
inline const std::string kBareDetectUsage = usage_lines("vtl_anomalydetecion_detect", 3);

// The report's lines before "results": status, version, sensitivity, input.
inline std::string report_head(const std::string& status, const std::string& sensitivity,
                               const std::string& input) {
  return "{\n\t\"status\": \"" + status + "\",\n\t\"version\": \"" + kVersion +
         "\",\n\t\"sensitivity\": " + sensitivity + ",\n\t\"input\": \"" + input + "\",\n";
}
inline const std::string kNullSensitivity = "\"null\"";
inline const std::string kNullTail =
    "\t\"detection_results\": {\"signals\": null, \"nominal\": null, \"anomaly\": null},\n"
    "\t\"learning_summary\": {\"signals\": null},\n"
    "\t\"detection_summary\": {\"signals\": null, \"nominal\": null, \"anomaly\": null}\n}\n";
inline std::string totals_tail(int learned, int detected, int nominal, int anomaly) {
  return "\t\"learning_summary\": {\"signals\": " + std::to_string(learned) + "},\n" +
         "\t\"detection_summary\": {\"signals\": " + std::to_string(detected) +
         ", \"nominal\": " + std::to_string(nominal) + ", \"anomaly\": " + std::to_string(anomaly) +
         "}\n}\n";
}
inline const std::string kNullDetectionResults =
    "\t\"detection_results\": {\"signals\": null, \"nominal\": null, \"anomaly\": null},\n";
inline std::string detection_results(int signals, int nominal, int anomaly) {
  return "\t\"detection_results\": {\"signals\": " + std::to_string(signals) +
         ", \"nominal\": " + std::to_string(nominal) + ", \"anomaly\": " + std::to_string(anomaly) +
         "},\n";
}

// Result entries; line 0 stands for an entry of the array form (line null).
inline std::string learn_entry(int signal, int line, bool last = false) {
  return "\t\t{\"signal\": " + std::to_string(signal) +
         ", \"line\": " + (line == 0 ? std::string("null") : std::to_string(line)) +
         ", \"similarity\": null, \"status\": \"nominal\"}" + (last ? "" : ",") + "\n";
}
inline std::string detect_entry(int signal, int line, int similarity, bool last = false) {
  return "\t\t{\"signal\": " + std::to_string(signal) +
         ", \"line\": " + (line == 0 ? std::string("null") : std::to_string(line)) +
         ", \"similarity\": " + std::to_string(similarity) + ", \"status\": \"" +
         (similarity > 89 ? "nominal" : "anomaly") + "\"}" + (last ? "" : ",") + "\n";
}
inline const std::string kResultsOpen = "\t\"results\": [\n";
inline const std::string kResultsClose = "\t],\n";

// A knowledge file: a model of three merged clusters with 14 learned signals.
inline std::string knowledge_bytes(size_t length, float last_signature_value = 1.0f) {
  std::array<float, 72> r{14.0f, 4.0f, 1.0f};
  for (int k = 0; k < 10; ++k) {
    const float slot[5] = {1.0f + static_cast<float>(k), 2.0f, 3.0f, k < 3 ? 0.5f : 0.0f,
                           k < 3 ? 4.0f : 1.0f};
    std::memcpy(r.data() + 3 + 5 * k, slot, sizeof slot);
  }
  const float tail[19] = {9, 9, 3, 1, 8, 3, 1, 0, 0, 0, 100, 0, 0, 0, 1000000, 0, 10, 21, 1};
  std::memcpy(r.data() + 53, tail, sizeof tail);
  r[71] = last_signature_value;
  std::string bytes(reinterpret_cast<const char*>(r.data()), sizeof r);  // little-endian host
  bytes.resize(length, '\0');
  return bytes;
}

// A state file image built field by field at the documented offsets.
class StateImage {
 public:
  StateImage() : bytes_(216, '\0') {}
  StateImage& i32(size_t offset, std::int32_t v) { return raw(offset, &v, 4); }
  StateImage& u32(size_t offset, std::uint32_t v) { return raw(offset, &v, 4); }
  StateImage& f32(size_t offset, float v) { return raw(offset, &v, 4); }
  StateImage& u16(size_t offset, std::uint16_t v) { return raw(offset, &v, 2); }
  StateImage& u8(size_t offset, std::uint8_t v) { return raw(offset, &v, 1); }
  // The state that init writes: counters 0, sensitivity 1, init_done 1,
  // selectors 4 and 1, every slot count 1, spare 9, smallest count 65535.
  static StateImage after_init() {
    StateImage image;
    image.f32(16, 1.0f).u8(20, 1).u8(29, 4).u8(30, 1);
    for (size_t k = 0; k < 10; ++k) image.u16(31 + 18 * k + 16, 1);
    image.u8(211, 9).u16(214, 65535);
    return image;
  }
  StateImage& learned(std::int32_t v) { return i32(0, v).u32(21, static_cast<std::uint32_t>(v)); }
  const std::string& bytes() const { return bytes_; }

 private:
  // The host is little-endian, like the file.
  StateImage& raw(size_t offset, const void* v, size_t size) {
    std::memcpy(bytes_.data() + offset, v, size);
    return *this;
  }
  std::string bytes_;
};

}  // namespace vtl::test
