// vantelo._core: the engine library for Python. Every engine is a snapshot of
// the engine's globals plus the four report totals of the state file; each
// operation takes the one process-wide lock, restores the snapshot, runs and
// captures it back, so engines never disturb one another. Loops over signal
// arrays run without the GIL; long ones learn on two threads, as the emulator
// does.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

#include "cli/background_learner.h"
#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "engine/learning.h"
#include "engine/model.h"
#include "engine/snapshot.h"
#include "persist/state_file.h"

namespace py = pybind11;

namespace vtl::python {

constexpr std::int32_t kMinimumLearned = 10;
constexpr std::uint8_t kNominalAbove = 89;  // a similarity above it is nominal
constexpr std::size_t kKnowledgeBytes = kKnowledgeValues * 4;

namespace {

std::mutex engine_globals_lock;

// The front end's totals add 1 with 32-bit wrap-around, like the device's counters.
void increment(std::int32_t& total) {
  total = static_cast<std::int32_t>(static_cast<std::uint32_t>(total) + 1u);
}

struct NotEnoughLearning : std::runtime_error {
  using std::runtime_error::runtime_error;
};

using SignalArray = py::array_t<float, py::array::c_style>;

// Checks a (n, 3) C-contiguous float32 array; the Python layer converts first.
std::size_t signal_count(const SignalArray& signals) {
  if (signals.ndim() != 2 || signals.shape(1) != 3) {
    throw py::value_error("signals must have shape (n, 3)");
  }
  return static_cast<std::size_t>(signals.shape(0));
}

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Raises the OSError subclass of the error number (FileNotFoundError, ...),
// naming the file. Needs the GIL.
[[noreturn]] void raise_os_error(int error, const std::string& path) {
  errno = error;
  PyErr_SetFromErrnoWithFilename(PyExc_OSError, path.c_str());
  throw py::error_already_set();
}

// Opens a file for reading; a directory counts as a file that cannot be read.
File open_for_reading(const std::string& path) {
  File file(std::fopen(path.c_str(), "rb"));
  if (!file) raise_os_error(errno, path);
  struct stat info;
  if (fstat(fileno(file.get()), &info) == 0 && S_ISDIR(info.st_mode)) {
    raise_os_error(EISDIR, path);
  }
  return file;
}

void write_file(const std::string& path, const std::uint8_t* bytes, std::size_t size) {
  File file(std::fopen(path.c_str(), "wb"));
  if (!file) raise_os_error(errno, path);
  const bool written = std::fwrite(bytes, 1, size, file.get()) == size;
  const bool closed = std::fclose(file.release()) == 0;
  if (!written || !closed) raise_os_error(errno ? errno : EIO, path);
}

class Engine {
 public:
  // A fresh engine: the process-start globals, then init.
  Engine() {
    run([] { vtl_anomalydetection_init(); });
  }

  // The engine of a process that has just started and loaded `length` bytes
  // of a state file: fields beyond the end keep their process-start values.
  static Engine from_state_bytes(const std::uint8_t* image, std::size_t length) {
    Engine engine(NoInit{});
    engine.run([&] { decode_state(image, length, engine.totals_); });
    return engine;
  }

  static Engine from_bytes(const py::bytes& data) {
    const std::string image = data;
    return from_state_bytes(reinterpret_cast<const std::uint8_t*>(image.data()), image.size());
  }

  // Reads the first 216 bytes (or fewer) and decodes them as the emulator does.
  static Engine load(const std::string& path) {
    File file = open_for_reading(path);
    std::uint8_t image[kStateFileSize];
    std::size_t length = 0;
    while (length < sizeof image) {
      const std::size_t got = std::fread(image + length, 1, sizeof image - length, file.get());
      if (got == 0) break;
      length += got;
    }
    return from_state_bytes(image, length);
  }

  py::bytes to_bytes() {
    std::uint8_t image[kStateFileSize];
    run([&] { encode_state(totals_, image); });
    return py::bytes(reinterpret_cast<const char*>(image), kStateFileSize);
  }

  void save(const std::string& path) {
    std::uint8_t image[kStateFileSize];
    run([&] { encode_state(totals_, image); });
    write_file(path, image, kStateFileSize);
  }

  // Long arrays are learned as the emulator learns a long file: the engine on
  // a second thread, the merges' radii worked out on this one.
  void learn(const SignalArray& signals) {
    const std::size_t n = signal_count(signals);
    const float* data = signals.data();
    py::gil_scoped_release unlocked;
    run([&] {
      const DeferredPairDistances deferred;  // written once, after the last signal
      if (n < static_cast<std::size_t>(kTwoThreadsFrom)) {
        for (std::size_t i = 0; i < n; ++i) {
          vtl_anomalydetection_learn(data + 3 * i);
          increment(totals_.learned);
        }
        return;
      }
      // Its batches take some 200 KiB, too much for the stack of any thread
      // that may call here.
      const auto learner = std::make_unique<BackgroundLearner>(
          static_cast<std::int32_t>(std::min<std::size_t>(n, INT32_MAX)));
      for (std::size_t i = 0; i < n; ++i) {
        learner->learn(data + 3 * i);
        increment(totals_.learned);
      }
      learner->finish();
    });
  }

  py::array_t<std::uint8_t> detect(const SignalArray& signals) {
    const std::size_t n = signal_count(signals);
    const float* data = signals.data();
    py::array_t<std::uint8_t> similarities(static_cast<py::ssize_t>(n));
    std::uint8_t* out = similarities.mutable_data();
    bool allowed = true;
    {
      py::gil_scoped_release unlocked;
      run([&] {
        // The gate of the emulator: the learned total, not the engine's count.
        allowed = static_cast<std::uint32_t>(totals_.learned) >= kMinimumLearned;
        if (!allowed) return;
        for (std::size_t i = 0; i < n; ++i) {
          vtl_anomalydetection_detect(data + 3 * i, out + i);
          increment(totals_.detected);
          increment(out[i] > kNominalAbove ? totals_.nominal : totals_.anomaly);
        }
      });
    }
    if (!allowed) {
      throw NotEnoughLearning("detection needs at least 10 learned signals; " +
                              std::to_string(learned_total()) + " learned up to now");
    }
    return similarities;
  }

 private:
  // Reads this engine's snapshot or totals under the lock.
  template <typename Getter>
  auto read(Getter getter) {
    std::lock_guard<std::mutex> hold(engine_globals_lock);
    return getter();
  }

 public:
  float sensitivity() {
    return read([this] { return snapshot_.sensitivity; });
  }
  // Narrowed to float as the emulator's set_sensitivity does with its argument.
  void set_sensitivity(double value) {
    run([&] { vtl_anomalydetection_set_sensitivity(static_cast<float>(value)); });
  }

  std::uint32_t learn_count() {
    return read([this] { return snapshot_.learn_count; });
  }
  std::uint32_t status() {
    return read([this] { return snapshot_.engine_status; });
  }
  std::int32_t learned_total() {
    return read([this] { return totals_.learned; });
  }
  std::int32_t detected_total() {
    return read([this] { return totals_.detected; });
  }
  std::int32_t nominal_total() {
    return read([this] { return totals_.nominal; });
  }
  std::int32_t anomaly_total() {
    return read([this] { return totals_.anomaly; });
  }

  // Every model field of the state file but the totals, as plain values.
  py::dict model() {
    const EngineSnapshot s = read([this] { return snapshot_; });
    py::list slots;
    for (const ClusterRecord& slot : s.cluster_table) {
      slots.append(
          py::make_tuple(slot.center[0], slot.center[1], slot.center[2], slot.radius, slot.count));
    }
    py::dict fields;
    fields["sensitivity"] = s.sensitivity;
    fields["init_done"] = s.init_done;
    fields["learn_count"] = s.learn_count;
    fields["frame_length"] = s.frame_length;
    fields["vector_length"] = s.vector_length;
    fields["measure_primary"] = s.measure_primary;
    fields["measure_secondary"] = s.measure_secondary;
    fields["slots"] = slots;
    fields["spare_slot"] = s.spare_slot;
    fields["filled_slots"] = s.filled_slots;
    fields["smallest_count_slot"] = s.smallest_count_slot;
    fields["smallest_count"] = s.smallest_count;
    fields["status"] = s.engine_status;
    return fields;
  }

  py::bytes export_knowledge() {
    float values[kKnowledgeValues];
    run([&] { export_knowledge_buffer(values); });
    return py::bytes(knowledge_bytes(values).data(), kKnowledgeBytes);
  }

  // Accepted: the model and the learned total are replaced, as the emulator's
  // knowledge command does. Rejected (125): the engine stays as it was, as the
  // emulator saves nothing after a rejected import.
  std::uint32_t import_knowledge(const py::bytes& data) {
    const std::string raw = data;
    if (raw.size() != kKnowledgeBytes) {
      throw py::value_error("a knowledge record holds 288 bytes, not " +
                            std::to_string(raw.size()));
    }
    float values[kKnowledgeValues];
    for (unsigned k = 0; k < kKnowledgeValues; ++k) {
      std::uint32_t bits = 0;
      for (unsigned b = 0; b < 4; ++b) {
        bits |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(raw[4 * k + b])) << (8 * b);
      }
      std::memcpy(&values[k], &bits, 4);
    }
    std::uint32_t result = 0;
    run([&] {
      const EngineSnapshot before = snapshot_;
      result = vtl_anomalydetection_knowledge(values);
      if (result == status_knowledge_rejected) {
        restore_engine(before);
      } else {
        totals_.learned = static_cast<std::int32_t>(vtl::learn_count);
      }
    });
    return result;
  }

  Engine copy() {
    Engine twin(NoInit{});
    std::lock_guard<std::mutex> hold(engine_globals_lock);
    twin.snapshot_ = snapshot_;
    twin.totals_ = totals_;
    return twin;
  }

 private:
  struct NoInit {};
  explicit Engine(NoInit) {}

  // Runs `body` on this engine's globals under the process-wide lock.
  template <typename Body>
  void run(Body body) {
    std::lock_guard<std::mutex> hold(engine_globals_lock);
    restore_engine(snapshot_);
    body();
    capture_engine(snapshot_);
  }

  static std::string knowledge_bytes(const float* values) {
    std::string bytes(kKnowledgeBytes, '\0');
    for (unsigned k = 0; k < kKnowledgeValues; ++k) {
      std::uint32_t bits;
      std::memcpy(&bits, &values[k], 4);
      for (unsigned b = 0; b < 4; ++b) bytes[4 * k + b] = static_cast<char>(bits >> (8 * b));
    }
    return bytes;
  }

  EngineSnapshot snapshot_;
  ReportTotals totals_;
};

// Reads a signal file as the emulator does: as many signals as the file has
// newline characters, each value by fscanf("%f") and one separator character
// consumed after it. Reads in pieces so that callers can show progress.
class SignalReader {
 public:
  explicit SignalReader(const std::string& path) : path_(path), file_(open_for_reading(path)) {
    py::gil_scoped_release unlocked;
    std::fseek(file_.get(), 0, SEEK_END);
    size_ = std::ftell(file_.get());
    std::rewind(file_.get());
    char block[1 << 16];
    std::size_t got;
    while ((got = std::fread(block, 1, sizeof block, file_.get())) > 0) {
      for (std::size_t i = 0; i < got; ++i) lines_ += block[i] == '\n';
    }
    std::clearerr(file_.get());
    std::rewind(file_.get());
  }

  // Up to `most` further signals as an (k, 3) float32 array; empty at the end.
  py::array_t<float> read(std::size_t most) {
    const std::size_t k = std::min<std::size_t>(most, lines_ - done_);
    py::array_t<float> signals({static_cast<py::ssize_t>(k), py::ssize_t{3}});
    float* out = signals.mutable_data();
    std::size_t got = 0;
    bool at_end = false;
    {
      py::gil_scoped_release unlocked;
      for (; got < k && read_signal(out + 3 * got); ++got) {
      }
      at_end = std::feof(file_.get()) != 0;
    }
    done_ += got;
    if (got < k) {
      const std::string where = path_ + ", signal " + std::to_string(done_ + 1);
      throw py::value_error(at_end ? "the file ends before its " + std::to_string(lines_) +
                                         " lines gave as many signals: " + where
                                   : "a value is not a number: " + where);
    }
    return signals;
  }

  std::uint64_t lines() const { return lines_; }
  std::uint64_t signals_read() const { return done_; }
  std::int64_t size() const { return size_; }
  std::int64_t position() { return std::ftell(file_.get()); }

 private:
  bool read_signal(float* signal) {
    for (int v = 0; v < 3; ++v) {
      if (std::fscanf(file_.get(), "%f", &signal[v]) != 1) return false;
      std::fgetc(file_.get());  // one separator, whatever it is
    }
    return true;
  }

  std::string path_;
  File file_;
  std::int64_t size_ = 0;
  std::uint64_t lines_ = 0;
  std::uint64_t done_ = 0;
};

}  // namespace

}  // namespace vtl::python

PYBIND11_MODULE(_core, m) {
  using vtl::python::Engine;
  using vtl::python::NotEnoughLearning;
  using vtl::python::SignalReader;
  m.doc() = "The Vantelo engine library: engines, state files, knowledge records, signal files.";
  m.attr("STATE_FILE_SIZE") = vtl::kStateFileSize;
  m.attr("KNOWLEDGE_SIZE") = vtl::python::kKnowledgeBytes;
  m.attr("MINIMUM_LEARNED") = vtl::python::kMinimumLearned;
  py::register_exception<NotEnoughLearning>(m, "NotEnoughLearningError", PyExc_RuntimeError);

  py::class_<Engine>(m, "Engine")
      .def(py::init<>())
      .def_static("load", &Engine::load, py::arg("path"))
      .def_static("from_bytes", &Engine::from_bytes, py::arg("data"))
      .def("save", &Engine::save, py::arg("path"))
      .def("to_bytes", &Engine::to_bytes)
      .def("learn", &Engine::learn, py::arg("signals"))
      .def("detect", &Engine::detect, py::arg("signals"))
      .def_property("sensitivity", &Engine::sensitivity, &Engine::set_sensitivity)
      .def_property_readonly("learned", &Engine::learn_count)
      .def_property_readonly("status", &Engine::status)
      .def_property_readonly("learned_total", &Engine::learned_total)
      .def_property_readonly("detected_total", &Engine::detected_total)
      .def_property_readonly("nominal_total", &Engine::nominal_total)
      .def_property_readonly("anomaly_total", &Engine::anomaly_total)
      .def("model", &Engine::model)
      .def("export_knowledge", &Engine::export_knowledge)
      .def("import_knowledge", &Engine::import_knowledge, py::arg("data"))
      .def("copy", &Engine::copy);

  py::class_<SignalReader>(m, "SignalReader")
      .def(py::init<const std::string&>(), py::arg("path"))
      .def("read", &SignalReader::read, py::arg("most"))
      .def_property_readonly("lines", &SignalReader::lines)
      .def_property_readonly("signals_read", &SignalReader::signals_read)
      .def_property_readonly("size", &SignalReader::size)
      .def_property_readonly("position", &SignalReader::position);
}
