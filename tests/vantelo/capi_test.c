/* Drives the engine through its C interface, as device code in C does, checking
 * every status on the way:  capi_test NORMAL.csv MIXED.csv OUTDIR
 * Writes into OUTDIR what compare_with_emulator.sh holds against the emulator:
 * the state images after learning, after detecting and at the end, the exported
 * knowledge (288 bytes little-endian) and the similarities at sensitivities 1
 * and 10, one a line. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vantelo/vantelo.h"

#define MAX_SIGNALS 1000

static int failures = 0;

#define CHECK(condition)                                                            \
  do {                                                                              \
    if (!(condition)) {                                                             \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
      ++failures;                                                                   \
    }                                                                               \
  } while (0)

typedef struct {
  float values[MAX_SIGNALS][3];
  int count;
} signal_list;

static signal_list normal_signals;
static signal_list mixed_signals;

/* Every number read with fscanf("%f") and one character after it consumed. */
static int read_signals(const char* path, signal_list* list) {
  FILE* file = fopen(path, "r");
  int v = 0;
  if (file == NULL) return 0;
  list->count = 0;
  while (list->count < MAX_SIGNALS) {
    for (v = 0; v < 3; ++v) {
      if (fscanf(file, "%f", &list->values[list->count][v]) != 1) break;
      fgetc(file);
    }
    if (v < 3) break;
    ++list->count;
  }
  fclose(file);
  return list->count > 0;
}

static FILE* open_output(const char* dir, const char* name, const char* mode) {
  char path[4096];
  FILE* file;
  snprintf(path, sizeof path, "%s/%s", dir, name);
  file = fopen(path, mode);
  if (file == NULL) {
    fprintf(stderr, "cannot write %s\n", path);
    exit(2);
  }
  return file;
}

static void write_image(const char* dir, const char* name, const vtl_report_totals* totals) {
  unsigned char image[VTL_STATE_IMAGE_SIZE];
  FILE* file = open_output(dir, name, "wb");
  vtl_state_save(image, totals);
  CHECK(fwrite(image, 1, sizeof image, file) == sizeof image);
  fclose(file);
}

static void write_knowledge(const char* dir, const float* knowledge) {
  FILE* file = open_output(dir, "knowledge.bin", "wb");
  int i, b;
  for (i = 0; i < VTL_KNOWLEDGE_VALUES; ++i) {
    uint32_t bits;
    memcpy(&bits, &knowledge[i], sizeof bits);
    for (b = 0; b < 4; ++b) CHECK(fputc((int)((bits >> (8 * b)) & 0xFFu), file) != EOF);
  }
  fclose(file);
}

/* Rates every mixed signal, counting them into the totals as the emulator does,
 * and writes the similarities to OUTDIR/name unless name is NULL. */
static void detect_all(uint8_t* similarities, vtl_report_totals* totals, const char* dir,
                       const char* name) {
  FILE* file = name == NULL ? NULL : open_output(dir, name, "w");
  int i;
  for (i = 0; i < mixed_signals.count; ++i) {
    CHECK(vtl_anomalydetection_detect(mixed_signals.values[i], &similarities[i]) == status_ok);
    CHECK(similarities[i] <= 100);
    ++totals->detected;
    if (similarities[i] > VTL_NOMINAL_THRESHOLD)
      ++totals->nominal;
    else
      ++totals->anomaly;
    if (file != NULL) fprintf(file, "%u\n", (unsigned)similarities[i]);
  }
  if (file != NULL) fclose(file);
}

/* Before init nothing is learned; detection waits for ten learned signals. */
static void learn_all(void) {
  const float* first = normal_signals.values[0];
  uint8_t similarity = 7;
  int i;
  CHECK(vtl_anomalydetection_learn(first) == status_not_initialized);
  CHECK(vtl_anomalydetection_detect(first, &similarity) == status_minimum_learning_pending);
  CHECK(similarity == VTL_NO_SIMILARITY);
  CHECK(vtl_anomalydetection_init() == VTL_STATUS_OK);
  CHECK(vtl_anomalydetection_get_sensitivity() == 1.0f);
  for (i = 0; i < normal_signals.count; ++i) {
    const uint32_t expected =
        i + 1 < 10 ? status_minimum_learning_pending : status_minimum_learning_done;
    CHECK(vtl_anomalydetection_learn(normal_signals.values[i]) == expected);
    if (i == 8) {
      similarity = 0;
      CHECK(vtl_anomalydetection_detect(first, &similarity) == status_minimum_learning_pending);
      CHECK(similarity == VTL_NO_SIMILARITY);
    }
  }
}

/* A knowledge restores the model exactly; one with a changed signature is
 * rejected and holds detection off until init or learn. */
static void check_knowledge(const float* knowledge, const uint8_t* expected) {
  float copy[VTL_KNOWLEDGE_VALUES], again[VTL_KNOWLEDGE_VALUES];
  uint8_t similarities[MAX_SIGNALS];
  vtl_report_totals scratch = {0, 0, 0, 0};
  uint8_t similarity = 0;

  CHECK(vtl_anomalydetection_init() == status_ok);
  CHECK(vtl_anomalydetection_detect(mixed_signals.values[0], &similarity) ==
        status_minimum_learning_pending);

  memcpy(copy, knowledge, sizeof copy);
  copy[VTL_KNOWLEDGE_VALUES - 1] += 1.0f;
  CHECK(vtl_anomalydetection_init() == status_ok);
  CHECK(vtl_anomalydetection_knowledge(copy) == status_knowledge_rejected);
  CHECK(vtl_anomalydetection_detect(mixed_signals.values[0], &similarity) ==
        status_knowledge_rejected);
  CHECK(similarity == VTL_NO_SIMILARITY);
  CHECK(vtl_anomalydetection_knowledge(knowledge) == status_knowledge_rejected);

  CHECK(vtl_anomalydetection_init() == status_ok);
  CHECK(vtl_anomalydetection_knowledge(knowledge) == status_ok);
  export_knowledge_buffer(again);
  CHECK(memcmp(again, knowledge, sizeof again) == 0);
  detect_all(similarities, &scratch, NULL, NULL);
  CHECK(memcmp(similarities, expected, (size_t)mixed_signals.count) == 0);
}

/* Saving, clearing and loading gives the same bytes back; NULL totals and
 * short images behave as documented. */
static void check_state_image(void) {
  const vtl_report_totals totals = {300, -5, 2147483647, 40};
  vtl_report_totals loaded = {1, 2, 3, 4};
  unsigned char saved[VTL_STATE_IMAGE_SIZE], again[VTL_STATE_IMAGE_SIZE];
  unsigned char no_totals[VTL_STATE_IMAGE_SIZE];
  int i;

  vtl_state_save(saved, &totals);
  vtl_state_save(no_totals, NULL);
  for (i = 0; i < 16; ++i) CHECK(no_totals[i] == 0);
  CHECK(memcmp(no_totals + 16, saved + 16, sizeof saved - 16) == 0);

  CHECK(vtl_anomalydetection_init() == status_ok);
  CHECK(vtl_anomalydetection_set_sensitivity(3.0f) == status_ok);
  vtl_state_save(again, &totals);
  CHECK(memcmp(again, saved, sizeof saved) != 0);

  /* 16 bytes hold the totals and nothing of the engine. */
  vtl_state_load(saved, 16, &loaded);
  CHECK(loaded.learned == 300 && loaded.detected == -5);
  CHECK(loaded.nominal == 2147483647 && loaded.anomaly == 40);
  CHECK(vtl_anomalydetection_get_sensitivity() == 3.0f);

  vtl_state_load(saved, sizeof saved, NULL);
  vtl_state_save(again, &totals);
  CHECK(memcmp(again, saved, sizeof saved) == 0);
}

int main(int argc, char** argv) {
  uint8_t at_one[MAX_SIGNALS], at_ten[MAX_SIGNALS];
  float knowledge[VTL_KNOWLEDGE_VALUES];
  vtl_report_totals totals = {0, 0, 0, 0};

  if (argc != 4 || !read_signals(argv[1], &normal_signals) ||
      !read_signals(argv[2], &mixed_signals)) {
    fprintf(stderr, "usage: capi_test NORMAL.csv MIXED.csv OUTDIR (readable signal files)\n");
    return 2;
  }
  CHECK(normal_signals.count >= 10);

  learn_all();
  totals.learned = normal_signals.count;
  write_image(argv[3], "learned.dat", &totals);

  detect_all(at_one, &totals, argv[3], "similarities_1.txt");
  write_image(argv[3], "detected.dat", &totals);

  export_knowledge_buffer(knowledge);
  CHECK(knowledge[0] == (float)normal_signals.count);
  write_knowledge(argv[3], knowledge);
  check_knowledge(knowledge, at_one);
  check_state_image();

  /* Back to the model after learning, then the emulator's set_sensitivity. */
  CHECK(vtl_anomalydetection_knowledge(knowledge) == status_ok);
  CHECK(vtl_anomalydetection_set_sensitivity(10.0f) == status_ok);
  CHECK(vtl_anomalydetection_get_sensitivity() == 10.0f);
  detect_all(at_ten, &totals, argv[3], "similarities_10.txt");
  write_image(argv[3], "final.dat", &totals);

  if (failures != 0) {
    fprintf(stderr, "%d checks failed\n", failures);
    return 1;
  }
  printf("capi_test: %d signals learned, %d rated twice, every check passed\n",
         normal_signals.count, mixed_signals.count);
  return 0;
}
