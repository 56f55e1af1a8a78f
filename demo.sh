#!/usr/bin/env bash
# Builds the emulator and runs its main job on the sample data of examples/,
# in a temporary directory: init, learn normal behaviour, detect a mix of
# normal readings and anomalies, change the sensitivity, and show the version;
# then, with the Python module, a sensitivity sweep and a picture of the run
# (build/demo_detection.png).
set -euo pipefail
cd "$(dirname "$0")"
source scripts/install_deps.sh
vtl_install_missing

cmake --preset release >/dev/null
cmake --build --preset release --target vantelo_emulator -j "$(nproc 2>/dev/null || echo 2)" >/dev/null
emulator="$PWD/build/vantelo_emulator"
# The Python module, when the build found Python and pybind11.
root=$PWD
python_package="$root/build/python"
if [ -d "$python_package" ]; then
  cmake --build --preset release --target vantelo_core -j "$(nproc 2>/dev/null || echo 2)" >/dev/null
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp examples/normal.csv examples/mixed.csv "$work"
cd "$work"

run() {
  echo
  echo "\$ vantelo_emulator $*"
  "$emulator" "$@"
}

run vtl_anomalydetection_init
run vtl_anomalydetection_get_version
run vtl_anomalydetection_learn --file normal.csv
run vtl_anomalydetection_detect --file mixed.csv
run vtl_anomalydetection_detect --array 0.31 0.19 9.80
run vtl_anomalydetection_detect --array 5.0 -4.0 3.0
run vtl_anomalydetection_set_sensitivity 2.5
run vtl_anomalydetection_detect --file mixed.csv --begin 1 --end 8
run vtl_anomalydetection_get_version

if [ -d "$python_package" ]; then
  vantelo() {
    echo
    echo "\$ vantelo $*"
    PYTHONPATH="$python_package" /usr/bin/python3 -m vantelo "$@"
  }
  vantelo sweep --state Vantelo.dat --file mixed.csv --values 1,2.5,5,10
  vantelo plot normal.csv mixed.csv --learn 300 -o "$root/build/demo_detection.png"
fi
