/* The engine library's C interface: the engine operations under their own names
 * with C linkage, the status codes, the 72-float knowledge and the 216-byte state
 * image. Valid C99 and C++; a C++ unit may include it beside engine/interface.h,
 * whose functions and constants live in namespace vtl.
 *
 * The engine is one process-wide model: every function works on it, none is
 * reentrant, and nothing allocates. Results are bit for bit those of the
 * emulator when the calling code, too, is built without fused multiply-add
 * (-ffp-contract=off, which the CMake and pkg-config packages pass on). */
#ifndef VANTELO_VANTELO_H
#define VANTELO_VANTELO_H

#include <float.h>
#include <stddef.h>
#include <stdint.h>

/* The engine's results are those of IEEE single precision evaluated in single
   precision: builds that would give other results are refused. */
#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__)
#error \
    "Vantelo needs exact IEEE arithmetic: build without -ffast-math, -Ofast or -ffinite-math-only."
#endif
#if !defined(FLT_EVAL_METHOD) || FLT_EVAL_METHOD != 0
#error "Vantelo needs float arithmetic evaluated in single precision (FLT_EVAL_METHOD 0), not x87."
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define VANTELO_VERSION_MAJOR 1
#define VANTELO_VERSION_MINOR 0
#define VANTELO_VERSION_PATCH 0

/* Floats in a knowledge (288 bytes as a little-endian file). */
#define VTL_KNOWLEDGE_VALUES 72
/* Bytes in a state image, the content of the emulator's Vantelo.dat. */
#define VTL_STATE_IMAGE_SIZE 216
/* A similarity above this is nominal, this and below an anomaly. */
#define VTL_NOMINAL_THRESHOLD 89
/* The similarity written when the engine computed none. */
#define VTL_NO_SIMILARITY 255

/* Status codes returned by the operations, under the engine's names. An
 * enumeration, not macros, so that C++ code using vtl::status_ok is unaffected. */
enum vtl_status {
  /* The operation succeeded; also the status of a fresh process. */
  status_ok = 0,
  /* learn was called before vtl_anomalydetection_init. */
  status_not_initialized = 123,
  /* The knowledge's configuration signature did not match; detection is held
   * off until init or learn stores another status. */
  status_knowledge_rejected = 125,
  /* Fewer than 10 signals learned: learn goes on, detect rates nothing. */
  status_minimum_learning_pending = 126,
  /* At least 10 signals learned: detection can rate signals. */
  status_minimum_learning_done = 127,
  /* Detection held off; no operation stores it (a C++ caller may set
   * vtl::engine_status to it). */
  status_detect_blocked = 128,
  /* init found the platform's single-precision minimum misbehaving. */
  status_self_test_failed = 129,

  /* The same codes under prefixed names. */
  VTL_STATUS_OK = status_ok,
  VTL_STATUS_NOT_INITIALIZED = status_not_initialized,
  VTL_STATUS_KNOWLEDGE_REJECTED = status_knowledge_rejected,
  VTL_STATUS_MINIMUM_LEARNING_PENDING = status_minimum_learning_pending,
  VTL_STATUS_MINIMUM_LEARNING_DONE = status_minimum_learning_done,
  VTL_STATUS_DETECT_BLOCKED = status_detect_blocked,
  VTL_STATUS_SELF_TEST_FAILED = status_self_test_failed
};

/* Empties the model (10 slots, selectors 4 and 1), sets the learned count to 0
 * and marks the engine initialized; the sensitivity keeps its value (the
 * emulator's init starts from 1.0 because it runs in a new process).
 * status_ok, or status_self_test_failed. */
uint32_t vtl_anomalydetection_init(void);

/* Stores the sensitivity unchecked (1.0 at process start); returns the last
 * stored status. Higher values rate signals less similar. */
uint32_t vtl_anomalydetection_set_sensitivity(float value);
float vtl_anomalydetection_get_sensitivity(void);

/* Folds one signal (3 floats, read only) into the model. status_not_initialized
 * before init, else status_minimum_learning_pending or _done. */
uint32_t vtl_anomalydetection_learn(const float* signal);

/* Rates one signal (3 floats) against the model: *similarity gets 0..100, or
 * VTL_NO_SIMILARITY when no rating was made (fewer than 10 signals learned, a
 * rejected knowledge). status_ok when rated, else the status that prevented it. */
uint32_t vtl_anomalydetection_detect(const float* signal, uint8_t* similarity);

/* Replaces the model by a knowledge of VTL_KNOWLEDGE_VALUES floats (read
 * only). status_knowledge_rejected when its signature does not match (the model
 * is replaced all the same), else the last stored status. */
uint32_t vtl_anomalydetection_knowledge(const float* knowledge);

/* Writes the current model as a knowledge of VTL_KNOWLEDGE_VALUES floats: the
 * learned count, the selectors, the 10 clusters, the learning bookkeeping and
 * the configuration signature. vtl_anomalydetection_knowledge reproduces every
 * field from it (the count exactly up to 2^24). */
void export_knowledge_buffer(float* knowledge);

/* The four totals of the emulator's report, carried in the state image. */
typedef struct vtl_report_totals {
  int32_t learned;  /* signals learned over all runs */
  int32_t detected; /* signals rated over all runs */
  int32_t nominal;
  int32_t anomaly;
} vtl_report_totals;

/* Writes the engine's model, settings (sensitivity, init flag, learned count)
 * and the totals as the 216 bytes of a state image, little-endian, byte for
 * byte what the emulator writes to Vantelo.dat. NULL totals write zeros. */
void vtl_state_save(unsigned char image[VTL_STATE_IMAGE_SIZE], const vtl_report_totals* totals);

/* Restores what vtl_state_save wrote from the first `length` bytes of image.
 * As the emulator does with a short file, a field cut off by the end keeps its
 * value, and bytes past 216 are ignored. With NULL totals the totals are not
 * returned; otherwise the fields present overwrite *totals. */
void vtl_state_load(const unsigned char* image, size_t length, vtl_report_totals* totals);

#ifdef __cplusplus
}
#endif

#endif /* VANTELO_VANTELO_H */
