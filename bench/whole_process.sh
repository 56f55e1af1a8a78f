#!/usr/bin/env bash
# Whole-process benchmark of the Release build, every figure measured in the
# same run on the same machine:
#   - learn and detect of a generated 1,000,000-line signal file, reports
#     written to a file, against the I/O floor: reading the same input and
#     writing a report of the same size and nothing else (bench/io_floor.c);
#     the ratio of each run to that floor, and the peak memory of each run;
#   - a single-signal invocation (learn --array) against a minimal C program
#     that opens, reads and writes a 216-byte state file
#     (bench/minimal_state_io.c), and the same invocation with durable saves
#     (VANTELO_SYNC=1) against that program with an fsync;
#   - the same run through the Python module, when it is built.
# Each time is the best of several runs, to keep other load out of it; the
# runs of a file alternate with those of its floor.
# Usage: bench/whole_process.sh [lines]   (build first: cmake --build --preset release)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
emulator="$root/build/vantelo_emulator"
lines=${1:-1000000}
python=${VTL_PYTHON:-/usr/bin/python3}
[ -x "$emulator" ] || { echo "build the release preset first: $emulator is missing"; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cc -O2 -o io_floor "$root/bench/io_floor.c"
cc -O2 -o minimal_state_io "$root/bench/minimal_state_io.c"
cc -O2 -DSYNC -o minimal_state_io_sync "$root/bench/minimal_state_io.c"
cc -O2 -o run_measured "$root/bench/run_measured.c"
"$root/bench/make_signals.sh" "$lines" > signals.csv
echo "signal file: $lines lines, $(du -h signals.csv | cut -f1)"

EMULATOR=$emulator "$python" - <<'PY'
import os, shutil, subprocess

emulator = os.environ["EMULATOR"]

def run(args, out_path="/dev/null"):
    """Wall time and peak resident memory (KiB) of one run. The report goes to
    a new file: truncating the last run's 78 MB would cost the kernel more than
    the floor's whole run."""
    args = [a if "/" in a else "./" + a for a in args[:1]] + args[1:]
    if out_path != "/dev/null" and os.path.exists(out_path):
        os.remove(out_path)
    measured = subprocess.run(["./run_measured", out_path] + args, capture_output=True, check=True)
    wall, rss = measured.stdout.split()
    return float(wall), int(rss)

def best(args, repeat, out_path="/dev/null", before=None):
    times = []
    for _ in range(repeat):
        if before:
            before()
        times.append(run(args, out_path)[0])
    return min(times)

subprocess.run([emulator, "vtl_anomalydetection_init"], stdout=subprocess.DEVNULL, check=True)
shutil.copy("Vantelo.dat", "initial.dat")
restore = lambda: shutil.copy("initial.dat", "Vantelo.dat")

rows = []
for command in ("learn", "detect"):
    if command == "learn":
        restore()
    else:
        restore()
        subprocess.run([emulator, "vtl_anomalydetection_learn", "--file", "signals.csv"],
                       stdout=subprocess.DEVNULL, check=True)
        shutil.copy("Vantelo.dat", "learned.dat")
    args = [emulator, f"vtl_anomalydetection_{command}", "--file", "signals.csv"]
    reset = restore if command == "learn" else (lambda: shutil.copy("learned.dat", "Vantelo.dat"))
    reset()
    _, rss = run(args, "report.json")
    size = os.path.getsize("report.json")
    # The runs and the floor alternate, so that both meet the same state of
    # the page cache and of the kernel's write-back.
    seconds, floor = float("inf"), float("inf")
    for _ in range(5):
        reset()
        seconds = min(seconds, run(args, "report.json")[0])
        floor = min(floor, run(["./io_floor", "signals.csv", str(size)], "floor.out")[0])
    rows.append((command, seconds, floor, rss, size))

print(f"{'run':<8}{'time':>9}{'I/O floor':>11}{'ratio':>8}{'peak RSS':>11}{'report':>10}")
for command, seconds, floor, rss, size in rows:
    print(f"{command:<8}{seconds:>8.3f}s{floor:>10.3f}s{seconds / floor:>7.1f}x"
          f"{rss / 1024:>8.1f} MiB{size / 1e6:>7.1f} MB")

# One invocation on one signal against minimal C programs doing the file work.
restore()
single_args = [emulator, "vtl_anomalydetection_learn", "--array", "1", "2", "3"]
single = best(single_args, 400)
minimal = best(["./minimal_state_io"], 400)
os.environ["VANTELO_SYNC"] = "1"
single_sync = best(single_args, 400)
del os.environ["VANTELO_SYNC"]
minimal_sync = best(["./minimal_state_io_sync"], 400)
print(f"learn --array: {single * 1e3:.2f} ms; minimal C program {minimal * 1e3:.2f} ms "
      f"(ratio {single / minimal:.2f})")
print(f"learn --array with VANTELO_SYNC=1: {single_sync * 1e3:.2f} ms; minimal C program with "
      f"fsync {minimal_sync * 1e3:.2f} ms (ratio {single_sync / minimal_sync:.2f})")
PY

# The same run through the Python module, when it is built: the state it saves
# must be the emulator's, byte for byte.
if [ -f "$root/build/python/vantelo/__init__.py" ] && [ -x "$python" ]; then
  "$emulator" vtl_anomalydetection_init >/dev/null
  "$emulator" vtl_anomalydetection_learn --file signals.csv >/dev/null
  "$emulator" vtl_anomalydetection_detect --file signals.csv >/dev/null
  PYTHONPATH="$root/build/python" "$python" - <<'PY'
import time
import vantelo

start = time.perf_counter()
signals = vantelo.read_signals("signals.csv")
read = time.perf_counter()
engine = vantelo.Engine()
engine.learn(signals)
learned = time.perf_counter()
engine.detect(signals)
detected = time.perf_counter()
print(f"python: read_signals {read - start:.2f} s, learn {learned - read:.2f} s, "
      f"detect {detected - learned:.2f} s ({len(signals)} signals)")
with open("Vantelo.dat", "rb") as f:
    print("python: saved state equals the emulator's:", engine.to_bytes() == f.read())
PY
fi
