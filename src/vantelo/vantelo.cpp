// The C interface: each function hands over to its namesake in namespace vtl.

#include "vantelo/vantelo.h"

#include <cstdint>

#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "persist/state_file.h"

static_assert(status_ok == vtl::status_ok);
static_assert(status_not_initialized == vtl::status_not_initialized);
static_assert(status_knowledge_rejected == vtl::status_knowledge_rejected);
static_assert(status_minimum_learning_pending == vtl::status_minimum_learning_pending);
static_assert(status_minimum_learning_done == vtl::status_minimum_learning_done);
static_assert(status_detect_blocked == vtl::status_detect_blocked);
static_assert(status_self_test_failed == vtl::status_self_test_failed);
static_assert(VTL_KNOWLEDGE_VALUES == vtl::kKnowledgeValues);
static_assert(VTL_STATE_IMAGE_SIZE == vtl::kStateFileSize);
static_assert(sizeof(unsigned char) == sizeof(std::uint8_t));

namespace {

vtl::ReportTotals from_c(const vtl_report_totals& totals) {
  return {totals.learned, totals.detected, totals.nominal, totals.anomaly};
}

void to_c(const vtl::ReportTotals& totals, vtl_report_totals* out) {
  out->learned = totals.learned;
  out->detected = totals.detected;
  out->nominal = totals.nominal;
  out->anomaly = totals.anomaly;
}

}  // namespace

extern "C" {

uint32_t vtl_anomalydetection_init(void) { return vtl::vtl_anomalydetection_init(); }

uint32_t vtl_anomalydetection_set_sensitivity(float value) {
  return vtl::vtl_anomalydetection_set_sensitivity(value);
}

float vtl_anomalydetection_get_sensitivity(void) {
  return vtl::vtl_anomalydetection_get_sensitivity();
}

uint32_t vtl_anomalydetection_learn(const float* signal) {
  return vtl::vtl_anomalydetection_learn(signal);
}

uint32_t vtl_anomalydetection_detect(const float* signal, uint8_t* similarity) {
  return vtl::vtl_anomalydetection_detect(signal, similarity);
}

uint32_t vtl_anomalydetection_knowledge(const float* knowledge) {
  return vtl::vtl_anomalydetection_knowledge(knowledge);
}

void export_knowledge_buffer(float* knowledge) { vtl::export_knowledge_buffer(knowledge); }

void vtl_state_save(unsigned char image[VTL_STATE_IMAGE_SIZE], const vtl_report_totals* totals) {
  const vtl::ReportTotals saved = totals != nullptr ? from_c(*totals) : vtl::ReportTotals{};
  vtl::encode_state(saved, image);
}

void vtl_state_load(const unsigned char* image, size_t length, vtl_report_totals* totals) {
  vtl::ReportTotals loaded = totals != nullptr ? from_c(*totals) : vtl::ReportTotals{};
  vtl::decode_state(image, length, loaded);
  if (totals != nullptr) to_c(loaded, totals);
}

}  // extern "C"
