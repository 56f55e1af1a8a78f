#!/usr/bin/env bash
# Prints the benchmark signal file: N lines (1,000,000 by default) of three
# values, a slow circle in the first two and gravity in the third, with a
# little deterministic noise. The benchmark and the golden sessions both use
# it, so it must not change.
#   bench/make_signals.sh [N] > signals.csv
set -euo pipefail
awk -v n="${1:-1000000}" 'BEGIN {
  seed = 12345
  for (t = 0; t < n; t++) {
    seed = (seed * 16807) % 2147483647; a = seed / 2147483647
    seed = (seed * 16807) % 2147483647; b = seed / 2147483647
    printf "%.4f,%.4f,%.4f\n", 0.3 + 0.05 * cos(t / 7) + (a - 0.5) * 0.02, 0.2 + 0.05 * sin(t / 7) + (b - 0.5) * 0.02, 9.81 + (a - b) * 0.02
  }
}'
