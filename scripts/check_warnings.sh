#!/usr/bin/env bash
# The warnings gate: builds the libraries and the emulator from scratch with GCC
# and with clang (presets strict-gcc and strict-clang), compiling src/ with
# -Wall -Wextra -Wpedantic -Wshadow -Wconversion as errors, and lists every
# warning once.
#
#   scripts/check_warnings.sh
set -euo pipefail
cd "$(dirname "$0")/.."


logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT
status=0
for compiler in gcc clang; do
  preset=strict-$compiler
  if ! command -v "$compiler" >/dev/null; then
    echo "$preset: $compiler is not installed (apt-get install $compiler)"
    status=1
    continue
  fi
  log=$logs/$preset.log
  built=yes
  cmake --preset "$preset" >"$log" 2>&1 ||
    { cat "$log"; exit 1; }
  cmake --build --preset "$preset" --clean-first -j2 -- -k 0 >"$log" 2>&1 || built=no
  # One line per diagnostic, however many units include the header it is in.
  grep -E '^[^ ]+:[0-9]+:[0-9]+: (warning|error):' "$log" | sort -u >"$log.diagnostics" || true
  rest=$(grep -c . "$log.diagnostics" || true)
  echo "$preset: $rest warnings"
  sed -e "s|^$PWD/||" -e 's/^/  /' "$log.diagnostics"
  if [ "$built" = no ] || [ "$rest" -gt 0 ]; then
    [ -s "$log.diagnostics" ] || tail -20 "$log"
    status=1
  fi
done
if [ $status -eq 0 ]; then
  echo "warnings gate passed"
else
  echo "warnings gate FAILED"
fi
exit $status
