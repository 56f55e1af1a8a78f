"""vantelo.Engine: one engine of the library, with the emulator's report totals."""

import os

import numpy as np

from . import _core

NotEnoughLearningError = _core.NotEnoughLearningError
STATE_FILE_SIZE = _core.STATE_FILE_SIZE  # bytes of Vantelo.dat
KNOWLEDGE_SIZE = _core.KNOWLEDGE_SIZE  # bytes of a knowledge record
MINIMUM_LEARNED = _core.MINIMUM_LEARNED  # learned signals detection needs
NOMINAL_ABOVE = 89  # a similarity above it is nominal (255 included)
NO_SIMILARITY = 255  # the engine computed none
EMPTY_CENTER = np.float32(65535.0)  # center of a slot that learning emptied

# One row per cluster slot. role: "spare" (the slot the next signal goes to),
# "cluster" (count above 1: it votes in detection), "single" (one signal),
# "empty" (emptied by learning) or "unused" (not filled since init).
CLUSTER_DTYPE = np.dtype([
    ("slot", "u1"),
    ("center", "<f4", (3,)),
    ("radius", "<f4"),
    ("count", "<u2"),
    ("spare", "?"),
    ("role", "U7"),
])


def as_signals(signals):
    """signals as a C-contiguous float32 array of shape (n, 3), or an exception."""
    kind = getattr(getattr(signals, "dtype", None), "kind", None)
    if kind == "c":
        raise TypeError("signals must be real numbers, not complex ones")
    try:
        array = np.ascontiguousarray(signals, dtype=np.float32)
    except (TypeError, ValueError) as error:
        raise TypeError(f"signals must be numbers that convert to float32 ({error})") from None
    if array.ndim != 2 or array.shape[1] != 3:
        raise ValueError(f"signals must have shape (n, 3), not {array.shape}")
    return array


def slot_role(slot, center, count, spare_slot, filled_slots):
    if slot == spare_slot:
        return "spare"
    if count > 1:
        return "cluster"
    if all(np.float32(c) == EMPTY_CENTER for c in center):
        return "empty"
    if filled_slots < 9 and slot >= filled_slots:
        return "unused"
    return "single"


class Engine:
    """An initialised engine (as after vtl_anomalydetection_init): an empty
    model, sensitivity 1.0 and the four report totals at 0."""

    def __init__(self):
        self._core = _core.Engine()

    @classmethod
    def _wrap(cls, core):
        engine = cls.__new__(cls)
        engine._core = core
        return engine

    # -- state file ---------------------------------------------------------
    @classmethod
    def load(cls, path):
        """The engine of a state file, read as the emulator reads Vantelo.dat:
        up to 216 bytes; fields cut off by a short file keep the values of a
        process that has just started (0, sensitivity 1.0)."""
        return cls._wrap(_core.Engine.load(os.fspath(path)))

    @classmethod
    def from_bytes(cls, data):
        """As load(), from the bytes of a state file (bytes beyond 216 are ignored)."""
        return cls._wrap(_core.Engine.from_bytes(memoryview(data).tobytes()))

    def save(self, path):
        """Writes the 216-byte state file, as the emulator saves it."""
        self._core.save(os.fspath(path))

    def to_bytes(self):
        """The 216 bytes save() writes."""
        return self._core.to_bytes()

    # -- signals ------------------------------------------------------------
    def learn(self, signals):
        """Learns every signal of an (n, 3) array-like, in order; the learned
        total grows by n (32-bit, wrapping)."""
        self._core.learn(as_signals(signals))

    def detect(self, signals):
        """Rates every signal of an (n, 3) array-like: a uint8 array of n
        similarities (0..100, 255 where the engine computed none). The totals
        count each signal, nominal when its similarity is above 89. Raises
        NotEnoughLearningError, and rates nothing, while the learned total is
        below 10, as the emulator refuses to detect then."""
        return self._core.detect(as_signals(signals))

    @property
    def sensitivity(self):
        """The detection sensitivity (float32; a new value is narrowed to float32)."""
        return self._core.sensitivity

    @sensitivity.setter
    def sensitivity(self, value):
        self._core.sensitivity = float(value)

    # -- counters -----------------------------------------------------------
    @property
    def learned(self):
        """The engine's count of signals learned since init (unsigned 32-bit)."""
        return self._core.learned

    @property
    def status(self):
        """The status code the engine stored last (0, 123, 125, 126, 127, 129)."""
        return self._core.status

    @property
    def learned_total(self):
        return self._core.learned_total

    @property
    def detected_total(self):
        return self._core.detected_total

    @property
    def nominal_total(self):
        return self._core.nominal_total

    @property
    def anomaly_total(self):
        return self._core.anomaly_total

    @property
    def totals(self):
        """The four report totals of the state file (signed 32-bit)."""
        return {
            "learned": self.learned_total,
            "detected": self.detected_total,
            "nominal": self.nominal_total,
            "anomaly": self.anomaly_total,
        }

    # -- model --------------------------------------------------------------
    def model(self):
        """Every field of the state file but the totals, and the engine's status:
        a dict with plain values; "slots" holds 10 tuples (x, y, z, radius, count)."""
        return self._core.model()

    @property
    def clusters(self):
        """The 10 cluster slots as a structured array of CLUSTER_DTYPE."""
        model = self.model()
        rows = [
            (k, (x, y, z), radius, count, k == model["spare_slot"],
             slot_role(k, (x, y, z), count, model["spare_slot"], model["filled_slots"]))
            for k, (x, y, z, radius, count) in enumerate(model["slots"])
        ]
        return np.array(rows, dtype=CLUSTER_DTYPE)

    @property
    def spare_slot(self):
        return self.model()["spare_slot"]

    @property
    def filled_slots(self):
        return self.model()["filled_slots"]

    @property
    def measures(self):
        """The two distance selectors (primary, secondary); 4 and 1 after init."""
        model = self.model()
        return model["measure_primary"], model["measure_secondary"]

    # -- knowledge ----------------------------------------------------------
    def export_knowledge(self):
        """The model as a 288-byte knowledge record (72 little-endian floats)."""
        return self._core.export_knowledge()

    def import_knowledge(self, data):
        """Imports a 288-byte knowledge record; returns the engine's status code.
        125: the configuration signature did not match, and the engine is left
        as it was (the emulator saves nothing then). Any other code: accepted;
        the model and the learned total are replaced, as the emulator's
        knowledge command does; sensitivity and detection totals stay."""
        if isinstance(data, (str, os.PathLike)):
            raise TypeError("import_knowledge takes the record's bytes; read the file first")
        return self._core.import_knowledge(memoryview(data).tobytes())

    # -- copies -------------------------------------------------------------
    def copy(self):
        """An independent engine in the same state."""
        return Engine._wrap(self._core.copy())

    __copy__ = copy

    def __deepcopy__(self, memo):
        return self.copy()

    def __repr__(self):
        return (f"<vantelo.Engine learned={self.learned} sensitivity={self.sensitivity:g} "
                f"totals={self.totals}>")
