#!/usr/bin/env bash
# Builds a Release build and an AddressSanitizer + UndefinedBehaviorSanitizer
# build and runs every test on both; then the format check, the warnings gate
# (gcc and clang), three corners of the build matrix (one of them with the
# portable scalar forms of the vectorised routines), and each fuzzer for a short
# while.
# Exits non-zero when anything fails.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/install_deps.sh
vtl_install_missing

jobs=$(nproc 2>/dev/null || echo 2)
# The Release build always makes the Python module: its packages were just
# installed, and a cache configured before they were would otherwise keep it
# switched off and its tests out of the run.
for preset in release sanitize; do
  echo "=== $preset: configure and build"
  options=()
  [ "$preset" = release ] && options=(-DVTL_BUILD_PYTHON=ON)
  cmake --preset "$preset" "${options[@]}" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "=== $preset: tests"
  ctest --preset "$preset" -j "$jobs"
done
echo "=== format"
scripts/check_format.sh
echo "=== warnings gate"
scripts/check_warnings.sh
echo "=== build matrix corners"
scripts/build_matrix.sh gcc:O0:x86-64 clang:O3:x86-64-v3 gcc:O2:x86-64:scalar
echo "=== fuzzers, ${VTL_CI_FUZZ_SECONDS:-20} s each"
scripts/fuzz.sh "${VTL_CI_FUZZ_SECONDS:-20}"
echo "=== all tests passed"
