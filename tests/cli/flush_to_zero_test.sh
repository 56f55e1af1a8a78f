#!/usr/bin/env bash
# The emulator keeps subnormal numbers even when something in the process
# switched flush-to-zero on at start (as crtfastmath.o does): the
# state learned with the preloaded switch equals the one learned without it.
# Usage: flush_to_zero_test.sh EMULATOR PRELOAD_LIBRARY
set -euo pipefail
emulator=$1
preload=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
session() {
  mkdir -p "$work/$1" && cd "$work/$1"
  shift
  "$@" "$emulator" vtl_anomalydetection_init >/dev/null
  for signal in "-1e-40 2e-39 1" "3e-45 -1e-38 1" "1 1 1" "1e-39 1e-39 -1e-39" "2 1 1" "1 2 1" \
                "1 1 2" "3 1 1" "1 3 1" "1 1 3" "1e-40 1 1" "1 1e-40 1"; do
    # shellcheck disable=SC2086
    "$@" "$emulator" vtl_anomalydetection_learn --array $signal >/dev/null
  done
  "$@" "$emulator" vtl_anomalydetection_detect --array 1e-40 1e-40 1 > report.txt
}
session plain env
session flushed env LD_PRELOAD="$preload"
cmp "$work/plain/Vantelo.dat" "$work/flushed/Vantelo.dat"
cmp "$work/plain/report.txt" "$work/flushed/report.txt"
echo "subnormals kept with flush-to-zero switched on at start"
