/* Learns the signals of one file and rates those of another with the engine
 * library's C interface, printing one similarity a line:
 *
 *   consumer NORMAL.csv MIXED.csv [SENSITIVITY]
 *
 * The model travels through a state image between learning and detection, as
 * it does between two runs of the emulator. */
#include <stdio.h>
#include <stdlib.h>

#include <vantelo/vantelo.h>

/* Reads one signal: every number with fscanf("%f") and one character after it
 * consumed, as the emulator reads its signal files. */
static int read_signal(FILE* file, float signal[3]) {
  int v;
  for (v = 0; v < 3; ++v) {
    if (fscanf(file, "%f", &signal[v]) != 1) return 0;
    fgetc(file);
  }
  return 1;
}

int main(int argc, char** argv) {
  float signal[3];
  unsigned char image[VTL_STATE_IMAGE_SIZE];
  vtl_report_totals totals = {0, 0, 0, 0};
  FILE* file;
  uint8_t similarity;

  if (argc != 3 && argc != 4) {
    fprintf(stderr, "usage: %s NORMAL.csv MIXED.csv [SENSITIVITY]\n", argv[0]);
    return 2;
  }
  if (vtl_anomalydetection_init() != status_ok) return 1;

  if ((file = fopen(argv[1], "r")) == NULL) return 2;
  while (read_signal(file, signal)) {
    vtl_anomalydetection_learn(signal);
    ++totals.learned;
  }
  fclose(file);

  vtl_state_save(image, &totals);
  vtl_anomalydetection_init();                  /* forget the model ... */
  vtl_state_load(image, sizeof image, &totals); /* ... and take it back */

  vtl_anomalydetection_set_sensitivity(argc == 4 ? (float)strtod(argv[3], NULL) : 1.0f);
  if ((file = fopen(argv[2], "r")) == NULL) return 2;
  while (read_signal(file, signal)) {
    if (vtl_anomalydetection_detect(signal, &similarity) != VTL_STATUS_OK) {
      fprintf(stderr, "detection needs at least 10 learned signals\n");
      fclose(file);
      return 1;
    }
    printf("%u\n", (unsigned)similarity);
  }
  fclose(file);
  return 0;
}
