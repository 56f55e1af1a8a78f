#!/usr/bin/env bash
# Runs fixed sessions of the emulator and prints one line per step: a label and
# the SHA-256 of the report, the exit status and the state file after the step.
# The lines are compared with expected.txt, so any change of a report or of a
# saved model shows up. Usage: sessions.sh EMULATOR [large]
#   large: also learn and detect a generated 1,000,000-line file.
set -euo pipefail
emulator=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
examples=$(cd "$(dirname "$0")/../../../examples" && pwd)
make_signals=$(cd "$(dirname "$0")/../../../bench" && pwd)/make_signals.sh
large=${2:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

step() {
  local label=$1; shift
  local status=0
  "$emulator" "$@" > report.txt || status=$?
  local state=absent
  if [ -f Vantelo.dat ]; then
    state=$(sha256sum < Vantelo.dat | cut -c1-16)
    # A model in which NaNs met NaNs holds NaNs whose sign depends on the
    # compiler (see README, "Bit for bit on every host"): only its presence
    # is compared there.
    [ -n "${nan_state:-}" ] && state=saved
  fi
  echo "$label report=$(sha256sum < report.txt | cut -c1-16) status=$status state=$state"
}

# The demo: learn normal behaviour, detect a mix, change the sensitivity.
cp "$examples/normal.csv" "$examples/mixed.csv" .
step demo-init vtl_anomalydetection_init
step demo-version vtl_anomalydetection_get_version
step demo-learn vtl_anomalydetection_learn --file normal.csv
step demo-detect vtl_anomalydetection_detect --file mixed.csv
step demo-detect-array vtl_anomalydetection_detect --array 0.31 0.19 9.80
step demo-detect-anomaly vtl_anomalydetection_detect --array 5.0 -4.0 3.0
step demo-sensitivity vtl_anomalydetection_set_sensitivity 2.5
step demo-detect-range vtl_anomalydetection_detect --file mixed.csv --begin 3 --end 8
step demo-learn-range vtl_anomalydetection_learn --file mixed.csv --begin 2 --end 30
step demo-detect-again vtl_anomalydetection_detect --file normal.csv

# Odd values: subnormals, zeros of both signs, NaN, infinities, huge and tiny
# numbers, hexadecimal and long decimal forms, through both readers.
step odd-init vtl_anomalydetection_init
for v in "1e-40 -1e-40 3e-45" "-0 0 -0" "nan -nan 1" "inf -inf 2" "3.4e38 -3.4e38 1e-38" \
         "0x1.8p3 0x.8p-1 1e" "1 2 3" "2 4 6" "-1 -2 -3" "5.5 -2.25 1000" "1 0 0" "0 1 0"; do
  # shellcheck disable=SC2086
  step "odd-learn-array[$v]" vtl_anomalydetection_learn --array $v
done
printf '%s\n' "0.1,0.2,0.3" "1e-40;-1e-40;2e-39" "inf,-inf,nan" "-nan,NAN,Infinity" \
  "0x1p-149,0X1.FFFFFEp127,0x1.000001p0" "1.00000005960464477539062500000000001,2,3" \
  "123456789012345678901234567890,1e39,-1e-50" " 7, 8,9" "4	5	6" "1.5e+3,2.5E-3,.5" \
  "0.30000001,0.19999999,9.81" "12,13,14" "-0.0,0.0,-0.0" "3,3,3" "1,2,3" "2,1,3" > odd.csv
step odd-learn-file vtl_anomalydetection_learn --file odd.csv
printf '1,2,3\n4 ,5,6\n' > broken.csv
step odd-learn-broken vtl_anomalydetection_learn --file broken.csv
printf '1,2,3\n4,5,6\n\n' > short.csv
step odd-detect-short vtl_anomalydetection_detect --file short.csv
step odd-detect-file vtl_anomalydetection_detect --file odd.csv
step odd-detect-array vtl_anomalydetection_detect --array 0.2 0.3 0.4
step odd-sensitivity-nan vtl_anomalydetection_set_sensitivity nan
step odd-detect-nan vtl_anomalydetection_detect --file odd.csv --begin 2 --end 5
step odd-sensitivity-zero vtl_anomalydetection_set_sensitivity 0
step odd-detect-zero vtl_anomalydetection_detect --file odd.csv
step odd-sensitivity-negative vtl_anomalydetection_set_sensitivity -3
step odd-detect-negative vtl_anomalydetection_detect --array 1 2 3

# Selectors from a knowledge file reach every measure.
for selectors in "0 0" "1 1" "2 2" "3 3" "3 4" "4 4" "2 200"; do
  set -- $selectors
  awk -v a="$1" -v b="$2" 'BEGIN {
    printf "%s %s %s ", 40, a, b
    for (k = 0; k < 10; k++) printf "%s %s %s %s %s ", k * 0.7 + 0.1, 2 - k * 0.3, 9.8 + k * 0.01, 0.05 * (k + 1), (k < 8 ? 3 + k : 1)
    printf "9 9 0 65535 8 3 1 0 0 0 100 0 0 0 1000000 0 10 21 1\n"
  }' | perl -ane 'print pack("f<*", @F)' > knowledge.bin
  step "knowledge[$selectors]" vtl_anomalydetection_knowledge --knowledge_path knowledge.bin
  step "knowledge-learn[$selectors]" vtl_anomalydetection_learn --file normal.csv --begin 1 --end 60
  step "knowledge-detect[$selectors]" vtl_anomalydetection_detect --file mixed.csv
done

# Rough sessions: a few operating points of either sign, repeated readings,
# and NaN, infinite, zero and extreme values at three rates, long enough to be
# read on the reading thread. The learning pass and scoring settle most
# distances by bounds there; every report and model must stay the same.
for rate in 0 20 200; do
  awk -v rate="$rate" 'BEGIN {
    seed = 4242 + rate
    split("nan,-nan,inf,-inf,0,-0,1e-40,3.4e38,-3.4e38,1e30", odd, ",")
    for (t = 0; t < 6000; t++) {
      seed = (seed * 16807) % 2147483647; p = seed % 5
      if (t > 0 && seed % 9 == 0) { print line[seed % t]; line[t] = line[seed % t]; continue }
      text = ""
      for (c = 0; c < 3; c++) {
        seed = (seed * 16807) % 2147483647
        v = sprintf("%.6g", ((p + c) % 5) - 2 + (seed / 2147483647 - 0.5) * 0.1)
        seed = (seed * 16807) % 2147483647
        if (rate > 0 && seed % 1000 < rate / 10) v = odd[1 + seed % 10]
        text = text (c ? "," : "") v
      }
      line[t] = text
      print text
    }
  }' > rough.csv
  nan_state=$([ "$rate" = 200 ] && echo yes || true)
  step "rough-init[$rate]" vtl_anomalydetection_init
  step "rough-learn[$rate]" vtl_anomalydetection_learn --file rough.csv
  step "rough-detect[$rate]" vtl_anomalydetection_detect --file rough.csv
  step "rough-learn-range[$rate]" vtl_anomalydetection_learn --file rough.csv --begin 4000 --end 5999
  step "rough-detect-again[$rate]" vtl_anomalydetection_detect --file rough.csv
  nan_state=
done

if [ "$large" = large ]; then
  "$make_signals" 1000000 > large.csv
  step large-init vtl_anomalydetection_init
  step large-learn vtl_anomalydetection_learn --file large.csv
  step large-detect vtl_anomalydetection_detect --file large.csv
fi
