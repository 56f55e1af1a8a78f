#!/usr/bin/env bash
# Builds the emulator and the golden-values tool with gcc and clang, at -O0,
# -O2 and -O3, for x86-64 and x86-64-v3 (FMA and AVX2 available to the
# compiler), and compares every output with the committed golden lines: the
# end-to-end sessions (tests/cli/golden/expected.txt) and the library values
# (tools/golden_values.txt). Any difference fails the script.
# A corner may add :scalar, which compiles the portable scalar forms of the
# vectorised routines (VTL_PORTABLE_SCALAR, what targets without SSE2 build)
# and also runs the base, distance and engine unit tests on that build.
# Usage: scripts/build_matrix.sh [corner ...]
#   a corner is compiler:level:arch[:scalar], e.g. gcc:O0:x86-64
#   clang:O3:x86-64-v3 gcc:O2:x86-64:scalar; with none, the twelve corners
#   without :scalar are built (about 10 minutes on 2 cores).
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
  IFS=: read -r cc level arch variant <<<"$corner"
  scalar=OFF tests=OFF targets=(vantelo_emulator golden_values)
  case ${variant:-} in
    "") ;;
    scalar) scalar=ON tests=ON targets+=(base_tests distance_tests engine_tests) ;;
    *) echo "unknown variant in $corner"; exit 2 ;;
  esac
  case $cc in
    gcc) c=gcc; cxx=g++ ;;
    clang) c=clang; cxx=clang++ ;;
    *) echo "unknown compiler in $corner"; exit 2 ;;
  esac
  dir=$root/build-matrix/$cc-$level-$arch${variant:+-$variant}
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=None \
    -DCMAKE_C_COMPILER=$c -DCMAKE_CXX_COMPILER=$cxx \
    -DCMAKE_C_FLAGS="-$level -march=$arch" -DCMAKE_CXX_FLAGS="-$level -march=$arch" \
    -DVTL_PORTABLE_SCALAR=$scalar -DVTL_BUILD_TESTS=$tests -DVTL_BUILD_BENCH=OFF -DVTL_BUILD_EXAMPLES=OFF \
    -DVTL_BUILD_PYTHON=OFF -DVTL_INSTALL=OFF >/dev/null
  cmake --build "$dir" -j "$jobs" --target "${targets[@]}" >/dev/null
  result=identical
  if [ "$tests" = ON ]; then
    for suite in base distance engine; do
      if ! "$dir/tests/$suite/${suite}_tests" --gtest_brief=1 >"$dir/$suite-tests.log" 2>&1; then
        result="$suite unit tests fail (see $dir/$suite-tests.log)"
        failed=1
      fi
    done
  fi
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
