#!/usr/bin/env bash
# Runs the emulator and the C program on the same data and requires the same
# results: the similarities at sensitivity 1 and at 10 (where they spread from 0
# to 100), the state file byte for byte after learn, after detect and at the end,
# and the ratings after the emulator imports the C program's exported knowledge.
#
#   compare_with_emulator.sh EMULATOR CAPI_TEST EXAMPLES_DIR
set -euo pipefail
emulator=$(realpath "$1")
capi_test=$(realpath "$2")
examples=$(realpath "$3")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/emu" "$work/capi" "$work/import"
cp "$examples/normal.csv" "$examples/mixed.csv" "$work/emu"

emu() { "$emulator" "vtl_anomalydetection_$1" "${@:2}"; }
similarities() { grep -o '"similarity": [0-9]*' | sed 's/.*: //'; }
fail() { echo "FAIL: $*" && exit 1; }

(
  cd "$work/emu"
  emu init >/dev/null
  emu learn --file normal.csv >/dev/null
  cp Vantelo.dat learned.dat
  emu detect --file mixed.csv | similarities >similarities_1.txt
  cp Vantelo.dat detected.dat
  emu set_sensitivity 10 >/dev/null
  emu detect --file mixed.csv | similarities >similarities_10.txt
  cp Vantelo.dat final.dat
)
"$capi_test" "$examples/normal.csv" "$examples/mixed.csv" "$work/capi"

rated=$(wc -l <"$work/emu/similarities_1.txt")
[ "$rated" -eq "$(grep -c . "$examples/mixed.csv")" ] || fail "the emulator rated $rated signals"
for name in similarities_1.txt similarities_10.txt learned.dat detected.dat final.dat; do
  cmp "$work/emu/$name" "$work/capi/$name" || fail "$name differs"
done

(
  cd "$work/import"
  emu init >/dev/null
  emu knowledge --knowledge_path "$work/capi/knowledge.bin" >/dev/null
  emu detect --file "$examples/mixed.csv" | similarities >imported.txt
)
cmp "$work/capi/similarities_1.txt" "$work/import/imported.txt" ||
  fail "the emulator rates differently after importing the exported knowledge"
echo "the C interface and the emulator agree on $rated signals at two sensitivities"
