"""The vantelo command: python3 -m vantelo SUBCOMMAND ..."""

import argparse
import os
import sys

import numpy as np

from .engine import KNOWLEDGE_SIZE, Engine, NotEnoughLearningError
from .progress import Progress
from .signals import read_signals

DESCRIPTION = """\
Companion of vantelo_emulator: look into its files, move a model out as a
knowledge file, and picture detection runs.

  inspect FILE                      a state file or knowledge file as JSON
  export-knowledge [--state S] OUT  the learned model as a 288-byte knowledge file
  plot INPUT... -o PNG              a detection run as a picture
  sweep --state S --file CSV        anomalies per sensitivity, 0.1 to 10
"""

PLOT_HELP = """\
INPUT is either signal files (read as the emulator reads them, joined in
order) or reports of vantelo_emulator (learn and detect reports, saved from
its output, in run order).

With signal files the run is computed here: the model is the one of --state
(default: a fresh engine); the first --learn N signals are learned into it
and the others rated, e.g.
    vantelo plot normal.csv mixed.csv --learn 300 -o run.png
    vantelo plot mixed.csv --state Vantelo.dat -o run.png

With reports the similarities are the emulator's; the signal values come from
the file each report names (beside the report, else in the working
directory), and --state names the state file after the run for the cluster
view, e.g.
    vantelo plot learn.json detect.json --state Vantelo.dat -o run.png
"""


def _read_with_progress(path):
    with Progress(os.path.getsize(path), f"reading {path}") as bar:
        return read_signals(path, lambda done, size: bar.update(done))


def _read_all(paths):
    pieces = [_read_with_progress(path) for path in paths]
    return np.concatenate(pieces) if pieces else np.zeros((0, 3), np.float32)


def _is_report(path):
    with open(path, "rb") as f:
        return f.read(64).lstrip().startswith(b"{")


def run_inspect(args):
    from .files import describe_file, to_json

    print(to_json(describe_file(args.file, args.kind)))


def run_export_knowledge(args):
    engine = Engine.load(args.state)
    data = engine.export_knowledge()
    with open(args.out, "wb") as f:
        f.write(data)
    print(f"{args.out}: knowledge of {engine.learned} learned signals ({KNOWLEDGE_SIZE} bytes)")


def run_plot(args):
    from . import plot

    reports = [_is_report(path) for path in args.inputs]
    engine = Engine.load(args.state) if args.state else None
    if all(reports):
        if args.learn:
            raise ValueError("--learn applies to signal files, not to reports")
        run = plot.run_from_reports(args.inputs, engine)
    elif not any(reports):
        engine = engine or Engine()
        if args.sensitivity is not None:
            engine.sensitivity = args.sensitivity
        run = plot.run_from_signals(_read_all(args.inputs), engine, args.learn or 0)
    else:
        raise ValueError("give either signal files or reports, not both")
    plot.save(plot.render(run, args.axes, args.title), args.output)
    print(f"{args.output}: {int(run.learned.sum())} learned, {int(run.rated.sum())} rated, "
          f"{int(run.anomalies.sum())} anomalies")


def _sensitivities(text):
    try:
        values = [float(v) for v in text.split(",") if v.strip()]
    except ValueError:
        raise argparse.ArgumentTypeError(f"not a list of numbers: {text!r}") from None
    if not values:
        raise argparse.ArgumentTypeError("no sensitivity given")
    return values


def run_sweep(args):
    from . import sweep

    engine = Engine.load(args.state)
    signals = _read_all([args.file])
    rows = sweep.sweep(engine, signals, args.values or sweep.DEFAULT_SENSITIVITIES)
    print(f"{len(signals)} signals of {args.file} against {args.state} "
          f"({engine.learned_total} learned, sensitivity now {engine.sensitivity:g})")
    print(sweep.format_table(rows))
    if args.output:
        sweep.save(sweep.render(rows, f"{args.file}: anomalies by sensitivity"), args.output)
        print(f"{args.output}: written")


def parser():
    top = argparse.ArgumentParser(prog="vantelo", description=DESCRIPTION,
                                  formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = top.add_subparsers(dest="command", required=True, metavar="SUBCOMMAND")

    inspect = commands.add_parser(
        "inspect", help="a state file or knowledge file as JSON",
        description="Prints a state file (any length, read as the emulator reads it) or a "
                    "288-byte knowledge file as JSON. Floats are the shortest decimals of their "
                    "float32 values; NaN and infinities are the strings nan, inf, -inf.")
    inspect.add_argument("file")
    inspect.add_argument("--as", dest="kind", choices=("state", "knowledge"),
                         help="how to read the file (default: a knowledge file when it holds "
                              "288 bytes, else a state file)")
    inspect.set_defaults(run=run_inspect)

    export = commands.add_parser(
        "export-knowledge", help="the learned model as a knowledge file",
        description="Writes the model of a state file as the 288-byte knowledge file that "
                    "vantelo_emulator vtl_anomalydetection_knowledge --knowledge_path OUT takes.")
    export.add_argument("--state", default="Vantelo.dat", help="state file (default: %(default)s)")
    export.add_argument("out")
    export.set_defaults(run=run_export_knowledge)

    plot = commands.add_parser("plot", help="a detection run as a picture", description=PLOT_HELP,
                               formatter_class=argparse.RawDescriptionHelpFormatter)
    plot.add_argument("inputs", nargs="+", metavar="INPUT")
    plot.add_argument("-o", "--output", required=True, help="the PNG file to write")
    plot.add_argument("--state", help="state file: the model (signal files) or the state "
                                      "after the run (reports)")
    plot.add_argument("--learn", type=int, metavar="N",
                      help="learn the first N signals, rate the rest (signal files)")
    plot.add_argument("--sensitivity", type=float, help="sensitivity of the run (signal files)")
    plot.add_argument("--axes", default="xy", choices=("xy", "xz", "yz"),
                      help="the two axes of the cluster view (default: %(default)s)")
    plot.add_argument("--title")
    plot.set_defaults(run=run_plot)

    sweep = commands.add_parser(
        "sweep", help="anomalies per sensitivity",
        description="Rates the signals of a file against the model of a state file at each "
                    "sensitivity (default 0.1 to 1 by 0.1, then to 10 by 0.5) and prints how "
                    "many are anomalous; the state file is not changed.")
    sweep.add_argument("--state", required=True)
    sweep.add_argument("--file", required=True, help="signal file")
    sweep.add_argument("-o", "--output", help="also draw the counts into this PNG file")
    sweep.add_argument("--values", type=_sensitivities,
                       help="comma-separated sensitivities instead of the default ones")
    sweep.set_defaults(run=run_sweep)
    return top


def main(argv=None):
    args = parser().parse_args(argv)
    try:
        args.run(args)
    except BrokenPipeError:  # a reader such as head stopped early
        sys.stdout = None
        return 0
    except (OSError, ValueError, TypeError, NotEnoughLearningError) as error:
        print(f"vantelo {args.command}: error: {error}", file=sys.stderr)
        return 1
    return 0
