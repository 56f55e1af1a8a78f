#!/usr/bin/env bash
# Whole-process benchmark: generates a signal file of 1,000,000 lines and times
# init, learn and detect of it with the Release build (reports go to /dev/null).
# Usage: bench/whole_process.sh [lines]   (build first: cmake --build --preset release)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
emulator="$root/build/vantelo_emulator"
lines=${1:-1000000}
[ -x "$emulator" ] || { echo "build the release preset first: $emulator is missing"; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
awk -v n="$lines" 'BEGIN {
  seed = 12345
  for (t = 0; t < n; t++) {
    seed = (seed * 16807) % 2147483647; a = seed / 2147483647
    seed = (seed * 16807) % 2147483647; b = seed / 2147483647
    printf "%.4f,%.4f,%.4f\n", 0.3 + 0.05 * cos(t / 7) + (a - 0.5) * 0.02, 0.2 + 0.05 * sin(t / 7) + (b - 0.5) * 0.02, 9.81 + (a - b) * 0.02
  }
}' > signals.csv
echo "signal file: $lines lines, $(du -h signals.csv | cut -f1)"

measure() {
  local label=$1; shift
  if [ -x /usr/bin/time ]; then
    /usr/bin/time -f "$label: %e s wall, %U s user, max RSS %M KiB" "$emulator" "$@" >/dev/null
  else
    local TIMEFORMAT="$label: %R s wall, %U s user"
    time "$emulator" "$@" >/dev/null
  fi
}

"$emulator" vtl_anomalydetection_init >/dev/null
measure "learn $lines signals" vtl_anomalydetection_learn --file signals.csv
measure "detect $lines signals" vtl_anomalydetection_detect --file signals.csv
measure "detect lines 500001-510000" vtl_anomalydetection_detect --file signals.csv --begin 500001 --end 510000

# The same run through the Python module, when it is built: the state it saves
# must be the emulator's, byte for byte.
python=${VTL_PYTHON:-/usr/bin/python3}
if [ -f "$root/build/python/vantelo/__init__.py" ] && [ -x "$python" ]; then
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
engine.detect(signals[500000:510000])
print(f"python: read_signals {read - start:.2f} s, learn {learned - read:.2f} s, "
      f"detect {detected - learned:.2f} s ({len(signals)} signals)")
with open("Vantelo.dat", "rb") as f:
    print("python: saved state equals the emulator's:", engine.to_bytes() == f.read())
PY
fi
