#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz preset: clang, ASan + UBSan, every library
# instrumented for coverage) and runs each one, starting from its seed corpus in
# fuzz/corpus/<target>, for a given time or number of executions.
# Usage: scripts/fuzz.sh [seconds per target] [target ...]
#        VTL_FUZZ_RUNS=N scripts/fuzz.sh 0 [target ...]   (N executions instead)
#        VTL_FUZZ_PRESET=fuzz-fast ...   (no sanitizers: several times faster,
#                                         for long runs after a sanitized one)
# New inputs that raise coverage go to build-fuzz/corpus/<target>, not into the
# repository; a crash stops the script with the input that caused it.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD  # absolute paths: the harnesses work in a directory of their own
seconds=${1:-20}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(dispatcher signal_file state_file knowledge_file engine float_scanner)
for target in "${targets[@]}"; do
  [ -f "fuzz/fuzz_$target.cpp" ] || { echo "no fuzz target '$target'"; exit 2; }
done

preset=${VTL_FUZZ_PRESET:-fuzz}
build=$root/build-$preset
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(nproc 2>/dev/null || echo 2)" \
  $(printf -- '--target fuzz_%s ' "${targets[@]}") >/dev/null

run_target() {
  local target=$1
  local corpus=$root/build-fuzz/corpus/$target
  mkdir -p "$corpus" "$root/build-fuzz/artifacts"
  local limit=(-max_total_time="$seconds")
  [ -n "${VTL_FUZZ_RUNS:-}" ] && limit=(-runs="$VTL_FUZZ_RUNS")
  [ -f "fuzz/$target.dict" ] && limit+=(-dict="$root/fuzz/$target.dict")
  local log=$build/fuzz_$target.log
  local start
  start=$(date +%s)
  if ! "$build/fuzz/fuzz_$target" "${limit[@]}" -timeout=10 -rss_limit_mb=2048 \
       -artifact_prefix="$root/build-fuzz/artifacts/" "$corpus" "$root/fuzz/corpus/$target" >"$log" 2>&1; then
    tail -40 "$log"
    echo "fuzz_$target: FAILED (log: $log)"
    return 1
  fi
  local runs cov
  runs=$(grep -Eo 'Done [0-9]+ runs' "$log" | grep -Eo '[0-9]+' || echo '?')
  cov=$(grep -Eo 'cov: [0-9]+' "$log" | tail -1 | grep -Eo '[0-9]+' || echo '?')
  echo "fuzz_$target: $runs executions in $(( $(date +%s) - start )) s, coverage $cov, clean"
}

# As many targets at a time as there are cores.
jobs=${VTL_FUZZ_JOBS:-$(nproc 2>/dev/null || echo 2)}
status=0
running=0
for target in "${targets[@]}"; do
  run_target "$target" &
  running=$((running + 1))
  if [ "$running" -ge "$jobs" ]; then
    wait -n || status=1
    running=$((running - 1))
  fi
done
while [ "$running" -gt 0 ]; do
  wait -n || status=1
  running=$((running - 1))
done
exit $status
