"""A progress bar on standard error, drawn only when standard error is a terminal."""

import sys
import time


class Progress:
    """Progress(total, label).update(done) ... close(); also a context manager.
    Draws nothing unless the stream is a terminal."""

    WIDTH = 30

    def __init__(self, total, label, stream=None):
        self.stream = stream if stream is not None else sys.stderr
        self.total = max(int(total), 1)
        self.label = label
        isatty = getattr(self.stream, "isatty", None)
        self.enabled = bool(isatty and isatty())
        self.shown = -1
        self.started = time.monotonic()

    def update(self, done):
        if not self.enabled:
            return
        permille = min(1000, int(1000 * done / self.total))
        if permille == self.shown:
            return
        self.shown = permille
        filled = self.WIDTH * permille // 1000
        bar = "#" * filled + "-" * (self.WIDTH - filled)
        elapsed = time.monotonic() - self.started
        self.stream.write(f"\r{self.label} [{bar}] {permille / 10:5.1f}% {elapsed:5.1f}s")
        self.stream.flush()

    def close(self):
        if self.enabled and self.shown >= 0:
            self.stream.write("\n")
            self.stream.flush()
        self.enabled = False

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
        return False


def in_chunks(operation, signals, progress, offset=0, chunk=1 << 16):
    """Runs operation (engine.learn or engine.detect) over the signals in
    pieces of `chunk`, updating the progress (`offset` signals were done
    before); the list of the results. An
    empty array still makes one call, so that its checks run."""
    results = []
    for start in range(0, max(len(signals), 1), chunk):
        results.append(operation(signals[start:start + chunk]))
        progress.update(offset + min(start + chunk, len(signals)))
    return results
