#!/usr/bin/env bash
# Builds a Release build and an AddressSanitizer + UndefinedBehaviorSanitizer
# build, and runs every test on both. Exits non-zero when anything fails.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/install_deps.sh
vtl_install_missing

jobs=$(nproc 2>/dev/null || echo 2)
for preset in release sanitize; do
  echo "=== $preset: configure and build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "=== $preset: tests"
  ctest --preset "$preset" -j "$jobs"
done
echo "=== all tests passed on the release and sanitizer builds"
