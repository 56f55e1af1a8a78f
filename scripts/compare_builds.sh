#!/usr/bin/env bash
# Runs the same random sessions through two emulator builds and compares every
# report and state file byte for byte. The signal files are made to find
# differences the golden sessions can miss: a few operating points with noise
# at several scales, repeated readings (ties), and NaN, infinite, zero,
# denormal and huge values at several rates, now and then on all three axes.
# Files of 5000 and 9000 lines go through the two threads of long files.
# Each session learns a whole file, detects it at one of eight sensitivities
# (-1 to 100) and learns a range of it again.
#
# Usage: scripts/compare_builds.sh OLD_EMULATOR NEW_EMULATOR [sessions] [first seed]
# A build from before a change: git worktree add --detach /tmp/before HEAD,
# then configure and build vantelo_emulator there with the release preset.
# Exit status 0 when every session gives the same bytes.
set -euo pipefail
old=$(realpath "$1")
new=$(realpath "$2")
sessions=${3:-100}
first=${4:-1}
python=${VTL_PYTHON:-/usr/bin/python3}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

make_signals() {
  "$python" - "$1" <<'PY'
import random, sys
r = random.Random(int(sys.argv[1]))
lines = r.choice([50, 500, 5000, 9000])
points = [[r.uniform(-3, 3) for _ in range(3)] for _ in range(r.randint(1, 6))]
odd = ["nan", "-nan", "inf", "-inf", "0", "-0", "1e-40", "3e38", "-3e38", "1e30"]
rate = r.choice([0, 0.001, 0.02, 0.1])
scale = r.choice([1e-3, 0.05, 0.5, 3])
out, recent = [], []
for _ in range(lines):
    if recent and r.random() < 0.1:
        out.append(r.choice(recent))
        continue
    p = r.choice(points)
    values = [f"{c + r.gauss(0, scale):.{r.choice([2, 4, 7])}g}" for c in p]
    if r.random() < rate:
        values[r.randrange(3)] = r.choice(odd)
    if r.random() < rate / 2:
        values = [r.choice(odd) for _ in range(3)]
    line = ",".join(values)
    out.append(line)
    recent = (recent + [line])[-50:]
print("\n".join(out))
PY
}

# Everything one session prints and saves, in one stream.
session() {
  local emulator=$1 label=$2 seed=$3 sensitivities=(0.5 2 10 0 0.01 1.7 100 -1)
  local dir="$work/$label-$seed"
  mkdir -p "$dir" && cd "$dir"
  cp "$work/signals-$seed.csv" s.csv
  "$emulator" vtl_anomalydetection_init
  "$emulator" vtl_anomalydetection_learn --file s.csv
  cat Vantelo.dat
  "$emulator" vtl_anomalydetection_set_sensitivity "${sensitivities[$((seed % 8))]}"
  "$emulator" vtl_anomalydetection_detect --file s.csv
  cat Vantelo.dat
  "$emulator" vtl_anomalydetection_learn --file s.csv --begin 3 --end 40
  cat Vantelo.dat
  cd "$work" && rm -rf "$dir"
}

differing=0
for ((seed = first; seed < first + sessions; ++seed)); do
  make_signals "$seed" > "$work/signals-$seed.csv"
  if ! cmp -s <(session "$old" old "$seed" 2>&1) <(session "$new" new "$seed" 2>&1); then
    echo "session $seed differs"
    differing=$((differing + 1))
  fi
  rm -f "$work/signals-$seed.csv"
done
echo "$sessions sessions, $differing differing"
[ "$differing" -eq 0 ]
