"""Shared helpers: the real emulator run in a temporary folder, and sample data."""

import json
import os
import pathlib
import subprocess

import numpy as np
import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "examples"
EMULATOR = os.environ.get("VTL_EMULATOR", str(ROOT / "build" / "vantelo_emulator"))


class Emulator:
    """vantelo_emulator in its own working folder."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)

    def run(self, *args, ok=True):
        done = subprocess.run([EMULATOR, *map(str, args)], cwd=self.folder, capture_output=True,
                              text=True)
        if ok:
            assert done.returncode == 0, done.stdout
        return done

    def report(self, *args):
        return json.loads(self.run(*args).stdout)

    def similarities(self, *args):
        return np.array([e["similarity"] for e in self.report(*args)["results"]], dtype=np.uint8)

    @property
    def state(self):
        return (self.folder / "Vantelo.dat").read_bytes()

    @state.setter
    def state(self, data):
        (self.folder / "Vantelo.dat").write_bytes(data)


@pytest.fixture
def emulator(tmp_path):
    if not os.access(EMULATOR, os.X_OK):
        pytest.fail(f"no emulator at {EMULATOR}: build it, or set VTL_EMULATOR")
    return Emulator(tmp_path)


def random_signals(seed, n):
    """Float32 signals in several clumps and scales, with some far outliers."""
    rng = np.random.default_rng(seed)
    centers = rng.normal(0, 5, size=(4, 3))
    picks = rng.integers(0, 4, size=n)
    signals = centers[picks] + rng.normal(0, 0.3, size=(n, 3)) * rng.choice([0.01, 1], size=(n, 1))
    outliers = rng.random(n) < 0.05
    signals[outliers] *= rng.uniform(-40, 40, size=(outliers.sum(), 1))
    return signals.astype(np.float32)
