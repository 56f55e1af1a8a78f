#!/usr/bin/env bash
# Builds the emulator and the golden-values tool with gcc and clang, at -O0,
# -O2 and -O3, for x86-64 and x86-64-v3 (FMA and AVX2 available to the
# compiler), and compares every output with the committed golden lines: the
# end-to-end sessions (tests/cli/golden/expected.txt) and the library values
# (tools/golden_values.txt). Any difference fails the script.
# Usage: scripts/build_matrix.sh [corner ...]
#   a corner is compiler:level:arch, e.g. gcc:O0:x86-64 clang:O3:x86-64-v3;
#   with none, all twelve are built (about 10 minutes on 2 cores).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
corners=("$@")
if [ ${#corners[@]} -eq 0 ]; then
  for cc in gcc clang; do for level in O0 O2 O3; do for arch in x86-64 x86-64-v3; do
    corners+=("$cc:$level:$arch")
  done; done; done
fi
jobs=$(nproc 2>/dev/null || echo 2)
failed=0
for corner in "${corners[@]}"; do
  IFS=: read -r cc level arch <<<"$corner"
  case $cc in
    gcc) c=gcc; cxx=g++ ;;
    clang) c=clang; cxx=clang++ ;;
    *) echo "unknown compiler in $corner"; exit 2 ;;
  esac
  dir=$root/build-matrix/$cc-$level-$arch
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=None \
    -DCMAKE_C_COMPILER=$c -DCMAKE_CXX_COMPILER=$cxx \
    -DCMAKE_C_FLAGS="-$level -march=$arch" -DCMAKE_CXX_FLAGS="-$level -march=$arch" \
    -DVTL_BUILD_TESTS=OFF -DVTL_BUILD_BENCH=OFF -DVTL_BUILD_EXAMPLES=OFF \
    -DVTL_BUILD_PYTHON=OFF -DVTL_INSTALL=OFF >/dev/null
  cmake --build "$dir" -j "$jobs" --target vantelo_emulator golden_values >/dev/null
  result=identical
  if ! "$dir/tools/golden_values" | diff -u "$root/tools/golden_values.txt" - >"$dir/values.diff"; then
    result="library values differ (see $dir/values.diff)"
    failed=1
  fi
  if ! "$root/tests/cli/golden/sessions.sh" "$dir/vantelo_emulator" large |
       diff -u "$root/tests/cli/golden/expected.txt" - >"$dir/sessions.diff"; then
    result="sessions differ (see $dir/sessions.diff)"
    failed=1
  fi
  printf '%-24s %s\n' "$corner" "$result"
done
exit $failed
