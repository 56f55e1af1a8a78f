"""Signal files as the emulator reads them.

A signal is three numbers. Each number is read with the C library's
fscanf("%f") (leading white space skipped; decimal, exponent, hexadecimal,
inf and nan forms; float32 correctly rounded, as strtof gives it) and exactly
one character after it is consumed, whatever it is: commas, spaces, tabs,
semicolons and newlines all separate values, and "\\r\\n" line ends work. As
many signals are read as the file has newline characters, so a last line
without a newline is not read and a line with four values shifts every later
signal. Reading is done by the same C library calls as the emulator's, so
every form the emulator takes gives the same floats here; a file that holds
fewer signals than lines, or a value that is not a number, is an error.
"""

import os

import numpy as np

from . import _core
from .engine import as_signals

CHUNK = 1 << 16


def read_signals(path, progress=None):
    """The signals of a file as an (n, 3) float32 array. progress, if given,
    is called with (bytes read, file size) as reading goes on."""
    path = os.fspath(path)
    reader = _core.SignalReader(path)
    if reader.size == 0:
        raise ValueError(f"{path}: the file is empty")
    pieces = []
    while reader.signals_read < reader.lines:
        pieces.append(reader.read(CHUNK))
        if progress is not None:
            progress(reader.position, reader.size)
    if not pieces:
        return np.zeros((0, 3), dtype=np.float32)
    return pieces[0] if len(pieces) == 1 else np.concatenate(pieces)


def write_signals(path, signals):
    """Writes signals one per line, "x,y,z" with 9 significant digits, which
    reads back as exactly the same float32 values."""
    array = as_signals(signals)
    with open(os.fspath(path), "w", encoding="ascii", newline="\n") as out:
        for x, y, z in array.tolist():
            out.write(f"{x:.9g},{y:.9g},{z:.9g}\n")
