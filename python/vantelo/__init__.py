"""The Vantelo anomaly-detection engine for Python.

    >>> import numpy as np, vantelo
    >>> engine = vantelo.Engine()
    >>> engine.learn(vantelo.read_signals("examples/normal.csv"))
    >>> similarities = engine.detect(vantelo.read_signals("examples/mixed.csv"))
    >>> engine.save("Vantelo.dat")

Engines are independent: each keeps its own copy of the engine's globals, and
every operation runs under one process-wide lock. Files are those of
vantelo_emulator: the 216-byte state file and the 288-byte knowledge record.
"""

from .engine import (
    CLUSTER_DTYPE,
    KNOWLEDGE_SIZE,
    MINIMUM_LEARNED,
    NO_SIMILARITY,
    NOMINAL_ABOVE,
    STATE_FILE_SIZE,
    Engine,
    NotEnoughLearningError,
    as_signals,
)
from .signals import read_signals, write_signals

__all__ = [
    "CLUSTER_DTYPE",
    "KNOWLEDGE_SIZE",
    "MINIMUM_LEARNED",
    "NO_SIMILARITY",
    "NOMINAL_ABOVE",
    "STATE_FILE_SIZE",
    "Engine",
    "NotEnoughLearningError",
    "as_signals",
    "read_signals",
    "write_signals",
]
