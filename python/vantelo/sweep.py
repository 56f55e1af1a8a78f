"""How many signals each sensitivity rates anomalous (vantelo sweep)."""

import os

import matplotlib

matplotlib.use("Agg")

import numpy as np  # noqa: E402
from matplotlib.backends.backend_agg import FigureCanvasAgg  # noqa: E402
from matplotlib.figure import Figure  # noqa: E402

from .engine import NOMINAL_ABOVE  # noqa: E402
from .progress import Progress  # noqa: E402

# 0.1 to 1 in steps of 0.1, then to 10 in steps of 0.5.
DEFAULT_SENSITIVITIES = tuple(k / 10 for k in range(1, 10)) + tuple(k / 2 for k in range(2, 21))


def sweep(engine, signals, sensitivities=DEFAULT_SENSITIVITIES):
    """For each sensitivity, a copy of the engine rates every signal; a list of
    dicts: sensitivity (as the engine stores it, float32), anomalies, nominal
    (255 counts as nominal, as in the emulator's totals)."""
    rows = []
    with Progress(len(sensitivities) * max(len(signals), 1), "sweep") as progress:
        for k, value in enumerate(sensitivities):
            trial = engine.copy()
            trial.sensitivity = value
            anomalies = int(np.count_nonzero(trial.detect(signals) <= NOMINAL_ABOVE))
            rows.append({"sensitivity": trial.sensitivity, "anomalies": anomalies,
                         "nominal": len(signals) - anomalies})
            progress.update((k + 1) * max(len(signals), 1))
    return rows


def format_table(rows):
    total = rows[0]["anomalies"] + rows[0]["nominal"] if rows else 0
    lines = [f"{'sensitivity':>11}  {'anomalies':>9}  {'percent':>7}  {'nominal':>9}"]
    for row in rows:
        percent = 100.0 * row["anomalies"] / total if total else 0.0
        lines.append(f"{row['sensitivity']:>11.4g}  {row['anomalies']:>9}  {percent:>6.1f}%  "
                     f"{row['nominal']:>9}")
    return "\n".join(lines)


def render(rows, title=None):
    """Anomalies against sensitivity (log axis) as a Figure of 900 x 500 pixels."""
    figure = Figure(figsize=(9.0, 5.0), dpi=100)
    FigureCanvasAgg(figure)
    ax = figure.subplots()
    x = [row["sensitivity"] for row in rows]
    y = [row["anomalies"] for row in rows]
    ax.plot(x, y, marker="o", color="tab:red", gid="anomalies")
    ax.set_xscale("log" if x and min(x) > 0 else "linear")
    ax.set_xlabel("sensitivity")
    ax.set_ylabel("signals rated anomalous")
    ax.grid(True, which="both", alpha=0.3)
    ax.set_title(title or "anomalies by sensitivity")
    figure.tight_layout()
    return figure


def save(figure, path):
    figure.savefig(os.fspath(path), dpi=100, format="png")
