"""Pictures of a detection run (vantelo plot).

A run is a sequence of signals, each either learned or rated. The picture has
two parts: the similarity of every rated signal in run order, with the
threshold (90: a similarity above 89 is nominal), the anomalies marked and the
learned stretches shaded; and the cluster view: the signals projected on two
axes, the centers of the cluster slots with circles of their radii (in the
engine's distance units, with the default selectors the angle times the
Manhattan distance, so they are small), and, where a model is at hand, the
region the model rates nominal in the plane through the clusters. A learned
stretch much longer than the rated part is drawn narrower, so that the rated
signals keep most of the width; the ticks still name the signals.
"""

import os
from dataclasses import dataclass, field

import matplotlib

matplotlib.use("Agg")

import numpy as np  # noqa: E402
from matplotlib.backends.backend_agg import FigureCanvasAgg  # noqa: E402
from matplotlib.figure import Figure  # noqa: E402
from matplotlib.patches import Circle  # noqa: E402
from matplotlib.ticker import FuncFormatter  # noqa: E402

from .engine import NO_SIMILARITY, NOMINAL_ABOVE, Engine  # noqa: E402
from .progress import Progress, in_chunks  # noqa: E402
from .reports import read_report  # noqa: E402
from .signals import read_signals  # noqa: E402

FIGURE_SIZE = (10.0, 8.0)  # inches
DPI = 100  # so a picture is 1000 x 800 pixels
AXES = {"xy": (0, 1), "xz": (0, 2), "yz": (1, 2)}
AXIS_NAMES = "xyz"
GRID = 160  # points per side of the nominal-region grid


@dataclass
class DetectionRun:
    """learned[i]: signal i was learned; similarities[i]: its similarity (NaN
    when learned); signals: the (n, 3) values, NaN where unknown; engine: the
    model after the run, if known."""

    learned: np.ndarray
    similarities: np.ndarray
    signals: np.ndarray
    engine: Engine = None
    sensitivity: float = None
    sources: list = field(default_factory=list)

    @property
    def rated(self):
        return ~self.learned

    @property
    def anomalies(self):
        with np.errstate(invalid="ignore"):
            return self.rated & (self.similarities <= NOMINAL_ABOVE)


def run_from_signals(signals, engine, learn=0, label="signals"):
    """Learns the first `learn` signals into the engine, rates the others."""
    if learn < 0 or learn > len(signals):
        raise ValueError(f"--learn {learn}: the run has {len(signals)} signals")
    with Progress(len(signals), label) as progress:
        in_chunks(engine.learn, signals[:learn], progress)
        rated = np.concatenate(in_chunks(engine.detect, signals[learn:], progress, learn))
    similarities = np.full(len(signals), np.nan)
    similarities[learn:] = rated
    learned = np.zeros(len(signals), dtype=bool)
    learned[:learn] = True
    return DetectionRun(learned, similarities, signals, engine, engine.sensitivity)


def _report_signals(report, base, cache):
    """The signal values of a report's entries, read from the file it names
    (beside the report, else from the working directory); NaN when unknown."""
    entries = report.get("results") or []
    values = np.full((len(entries), 3), np.nan, dtype=np.float32)
    name = report.get("input")
    if not name or name in ("array", "null"):
        return values
    for candidate in (os.path.join(base, name), name):
        if os.path.isfile(candidate):
            if candidate not in cache:
                cache[candidate] = read_signals(candidate)
            signals = cache[candidate]
            for k, entry in enumerate(entries):
                line = entry.get("line")
                if isinstance(line, int) and 1 <= line <= len(signals):
                    values[k] = signals[line - 1]
            break
    return values


def run_from_reports(paths, engine=None):
    """A run from emulator reports in run order (learn and detect reports);
    `engine`, if given, is the model after the run (for the cluster view)."""
    learned, similarities, signals, cache = [], [], [], {}
    sensitivity = None
    for path in paths:
        report = read_report(path)
        entries = report.get("results") or []
        is_learning = report["status"] == "learning"
        learned.append(np.full(len(entries), is_learning))
        similarities.append(np.array(
            [np.nan if is_learning or e.get("similarity") is None else e["similarity"]
             for e in entries], dtype=float))
        signals.append(_report_signals(report, os.path.dirname(os.path.abspath(path)), cache))
        if not is_learning and report.get("sensitivity") is not None:
            sensitivity = report["sensitivity"]
    if engine is not None:
        sensitivity = engine.sensitivity
    return DetectionRun(np.concatenate(learned) if learned else np.zeros(0, bool),
                        np.concatenate(similarities) if similarities else np.zeros(0),
                        np.concatenate(signals) if signals else np.zeros((0, 3), np.float32),
                        engine, sensitivity, [str(p) for p in paths])


def run_positions(learned, cap):
    """Where each signal of the run is drawn: one unit per signal, except that a
    learned stretch longer than `cap` is squeezed to `cap` units, so that the
    rated signals keep most of the width."""
    positions = np.empty(len(learned))
    edges = np.flatnonzero(np.diff(learned.astype(int))) + 1
    x = 1.0
    for stretch in np.split(np.arange(len(learned)), edges):
        if not len(stretch):
            continue
        step = cap / len(stretch) if learned[stretch[0]] and len(stretch) > cap else 1.0
        positions[stretch] = x + step * np.arange(len(stretch))
        x += step * len(stretch)
    return positions


def _shade_learned(ax, run, x):
    edges = np.flatnonzero(np.diff(np.concatenate(([0], run.learned.astype(int), [0]))))
    label = "learned"
    for start, stop in zip(edges[::2], edges[1::2]):
        ax.axvspan(x[start] - 0.5, x[stop - 1] + 0.5, color="0.85", label=label, zorder=0)
        ax.text((x[start] + x[stop - 1]) / 2, 50, f"{stop - start} learned", rotation=90,
                ha="center", va="center", fontsize=8, color="0.35")
        label = None


def draw_similarities(ax, run):
    n = len(run.learned)
    x = run_positions(run.learned, max(10.0, 0.2 * run.rated.sum()))
    _shade_learned(ax, run, x)
    shown = np.where(run.similarities == NO_SIMILARITY, np.nan, run.similarities)
    ax.plot(x, shown, color="tab:blue", lw=0.9, marker=".", ms=3, label="similarity",
            gid="similarity")
    ax.axhline(NOMINAL_ABOVE + 1, color="tab:green", ls="--", lw=1,
               label=f"threshold {NOMINAL_ABOVE + 1}", gid="threshold")
    anomalies = run.anomalies
    ax.plot(x[anomalies], run.similarities[anomalies], ls="none", marker="x", color="tab:red",
            ms=6, label="anomaly", gid="anomalies")
    none = run.rated & (run.similarities == NO_SIMILARITY)
    if none.any():
        ax.plot(x[none], np.full(none.sum(), 103.0), ls="none", marker="v", color="0.4",
                label="none computed (255)", gid="none")
    # Ticks name the signals of the run, also across squeezed stretches.
    numbers = np.arange(1, n + 1)
    ax.xaxis.set_major_formatter(
        FuncFormatter(lambda p, _: f"{np.interp(p, x, numbers):.0f}" if n else ""))
    ax.set_xlim(0.5, (x[-1] if n else 1) + 0.5)
    ax.set_ylim(-3, 106)
    ax.set_xlabel("signal of the run (long learned stretches drawn narrower)")
    ax.set_ylabel("similarity")
    ax.legend(loc="lower left", fontsize=8, ncol=5)


def _view_limits(points):
    finite = points[np.isfinite(points).all(axis=1)]
    if not len(finite):
        return (-1.0, 1.0), (-1.0, 1.0)
    limits = []
    for column in finite.T.astype(float):
        lo, hi = column.min(), column.max()
        pad = 0.08 * (hi - lo) if hi > lo else max(abs(lo) * 0.1, 1.0)
        limits.append((lo - pad, hi + pad))
    return limits


def _nominal_region(ax, run, voting, i, j, xlim, ylim):
    """Shades where the model rates nominal, in the plane through the mean of
    the voting clusters' other coordinate."""
    if run.engine is None or run.engine.learned_total < 10 or not len(voting):
        return
    k = 3 - i - j
    depth = np.float32(np.mean([c["center"][k] for c in voting]))
    gx, gy = np.meshgrid(np.linspace(*xlim, GRID), np.linspace(*ylim, GRID))
    grid = np.empty((gx.size, 3), dtype=np.float32)
    grid[:, i], grid[:, j], grid[:, k] = gx.ravel(), gy.ravel(), depth
    similarity = run.engine.copy().detect(grid).astype(float).reshape(gx.shape)
    if (similarity > NOMINAL_ABOVE).any():
        ax.contourf(gx, gy, similarity, levels=[NOMINAL_ABOVE + 0.5, 256], colors=["tab:green"],
                    alpha=0.15, zorder=0)
        ax.plot([], [], color="tab:green", alpha=0.3, lw=6,
                label=f"rated nominal at {AXIS_NAMES[k]} = {depth:.4g}")


def model_clusters(run):
    """The slots that hold clusters or single signals (not spare, empty or unused)."""
    if run.engine is None:
        return []
    return [c for c in run.engine.clusters if c["role"] in ("cluster", "single")]


def draw_signals(ax, run, i, j, limits):
    points = run.signals[:, [i, j]]
    anomalies = run.anomalies
    for mask, style in ((run.learned, dict(color="0.6", label="learned", marker=".")),
                        (run.rated & ~anomalies,
                         dict(color="tab:blue", label="rated nominal", marker=".")),
                        (anomalies, dict(color="tab:red", label="rated anomaly", marker="x"))):
        if mask.any():
            ax.plot(points[mask, 0], points[mask, 1], ls="none", ms=4, alpha=0.7, zorder=1,
                    gid=style["label"], **style)
    ax.set_xlim(*limits[0])
    ax.set_ylim(*limits[1])
    ax.set_xlabel(AXIS_NAMES[i])
    ax.set_ylabel(AXIS_NAMES[j])


def draw_centers(ax, clusters, i, j, labels):
    if not clusters:
        return
    centers = np.array([[c["center"][i], c["center"][j]] for c in clusters], dtype=float)
    for c, center in zip(clusters, centers):
        ax.add_patch(Circle(center, float(c["radius"]), fill=False, color="black", lw=1,
                            zorder=3))
        if labels:
            ax.annotate(str(c["slot"]), center, fontsize=7, xytext=(3, 3),
                        textcoords="offset points", zorder=4)
    ax.plot(centers[:, 0], centers[:, 1], ls="none", marker="o", ms=5, color="black", zorder=3,
            label="cluster centers (slot numbers)" if labels else "cluster centers",
            gid="centers")


def draw_clusters(overview, zoom, run, axes="xy"):
    """The overview shows every signal; the zoom the model: its centers, the
    learned signals and the region it rates nominal."""
    i, j = AXES[axes]
    clusters = model_clusters(run)
    centers = np.array([[c["center"][i], c["center"][j]] for c in clusters]).reshape(-1, 2)
    points = run.signals[:, [i, j]]
    voting = [c for c in clusters if c["role"] == "cluster"]
    limits = _view_limits(np.vstack([points, centers]))
    _nominal_region(overview, run, voting, i, j, *limits)
    draw_signals(overview, run, i, j, limits)
    draw_centers(overview, clusters, i, j, labels=False)
    if not len(points) and not clusters:
        overview.text(0.5, 0.5, "no signal values and no model", ha="center",
                      transform=overview.transAxes)
    overview.set_title("all signals", fontsize=10)
    overview.legend(loc="best", fontsize=7)

    near = np.vstack([centers, points[run.learned]])
    limits = _view_limits(near if len(near) else points)
    _nominal_region(zoom, run, voting, i, j, *limits)
    draw_signals(zoom, run, i, j, limits)
    draw_centers(zoom, clusters, i, j, labels=True)
    zoom.set_title("around the model; circles: cluster radii", fontsize=10)
    zoom.legend(loc="best", fontsize=7)


def render(run, axes="xy", title=None):
    """The run's picture as a matplotlib Figure of 1000 x 800 pixels: axes[0]
    the similarities, axes[1] all signals, axes[2] the model's neighbourhood."""
    if axes not in AXES:
        raise ValueError(f"axes must be one of {', '.join(AXES)}, not {axes!r}")
    figure = Figure(figsize=FIGURE_SIZE, dpi=DPI)
    FigureCanvasAgg(figure)
    grid = figure.add_gridspec(2, 2, height_ratios=[1, 1.2])
    top = figure.add_subplot(grid[0, :])
    overview, zoom = figure.add_subplot(grid[1, 0]), figure.add_subplot(grid[1, 1])
    draw_similarities(top, run)
    draw_clusters(overview, zoom, run, axes)
    learned, rated = int(run.learned.sum()), int(run.rated.sum())
    sensitivity = "" if run.sensitivity is None else f", sensitivity {run.sensitivity:g}"
    top.set_title(title or f"{learned} learned, {rated} rated, "
                  f"{int(run.anomalies.sum())} anomalies{sensitivity}")
    figure.tight_layout()
    return figure


def save(figure, path):
    figure.savefig(os.fspath(path), dpi=DPI, format="png")
