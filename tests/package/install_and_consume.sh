#!/usr/bin/env bash
# Installs the build into a temporary prefix and builds the two projects of
# examples/consumer against it, as another project would: the CMake one through
# find_package (linked statically and shared), the Makefile one through
# pkg-config (shared, and static unless sanitizer flags are given). Every
# program must rate the sample signals as the installed emulator does. Last,
# the CMake project adds the source tree with add_subdirectory, on a machine
# that pretends to have neither GoogleTest nor Google Benchmark.
#
#   install_and_consume.sh BUILD_DIR SOURCE_DIR LIBDIR GENERATOR CC CXX [FLAGS]
#
# LIBDIR is the library folder below the prefix (lib, lib64, ...); FLAGS are
# added to every compile and link (the sanitizer flags of a sanitizer build).
set -euo pipefail
build=$(realpath "$1")
source=$(realpath "$2")
libdir=$3
generator=$4
cc=$5
cxx=$6
flags=${7:-}
cmake=${CMAKE:-cmake}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
sensitivity=10  # similarities spread between 0 and 100

fail() {
  echo "FAIL: $*"
  exit 1
}

step() { echo "--- $*"; }

same_ratings() {  # program, label
  "$1" "$source/examples/normal.csv" "$source/examples/mixed.csv" "$sensitivity" >"$work/got.txt" ||
    fail "$2 did not run"
  diff "$work/expected.txt" "$work/got.txt" >/dev/null || fail "$2 rates differently from the emulator"
  echo "$2: $(wc -l <"$work/got.txt") ratings as the emulator's"
}

needs_library() {  # program, label, yes|no: whether it must load libvantelo.so.1
  if readelf -d "$1" | grep -q 'NEEDED.*\[libvantelo\.so\.1\]'; then
    [ "$3" = yes ] || fail "$2 loads libvantelo.so.1"
  else
    [ "$3" = no ] || fail "$2 does not load libvantelo.so.1"
  fi
}

step "install into a temporary prefix"
"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log"
for file in bin/vantelo_emulator include/vantelo/vantelo.h include/vantelo/engine/interface.h \
    include/vantelo/base/constants.h "$libdir/libvantelo.a" "$libdir/libvantelo.so.1.0.0" \
    "$libdir/cmake/vantelo/vantelo-config.cmake" "$libdir/pkgconfig/vantelo.pc"; do
  [ -f "$prefix/$file" ] || fail "$file is not installed"
done
[ ! -e "$prefix/include/vantelo/cli" ] || fail "the front end's headers are installed"
[ "$(readlink "$prefix/$libdir/libvantelo.so.1")" = libvantelo.so.1.0.0 ] || fail "libvantelo.so.1"
[ "$(readlink "$prefix/$libdir/libvantelo.so")" = libvantelo.so.1 ] || fail "libvantelo.so"
readelf -d "$prefix/$libdir/libvantelo.so.1.0.0" | grep -q 'SONAME.*\[libvantelo\.so\.1\]' ||
  fail "the shared library's soname is not libvantelo.so.1"

step "every installed header compiles from the installed tree alone"
(cd "$prefix/include/vantelo" && find . -name '*.h' | sort | sed 's|^\./\(.*\)|#include "\1"|') \
  >"$work/all_headers.cpp"
"$cxx" -std=c++20 -fsyntax-only -I"$prefix/include" -I"$prefix/include/vantelo" \
  "$work/all_headers.cpp" || fail "the installed C++ headers do not compile"
echo '#include <vantelo/vantelo.h>' >"$work/c_header.c"
"$cc" -std=c99 -pedantic-errors -fsyntax-only -I"$prefix/include" "$work/c_header.c" ||
  fail "the installed C header is not C99"
echo "$(grep -c include "$work/all_headers.cpp") headers"

step "the installed emulator rates the sample signals"
mkdir "$work/emulator"
(
  cd "$work/emulator"
  "$prefix/bin/vantelo_emulator" vtl_anomalydetection_init >/dev/null
  "$prefix/bin/vantelo_emulator" vtl_anomalydetection_learn --file "$source/examples/normal.csv" \
    >/dev/null
  "$prefix/bin/vantelo_emulator" vtl_anomalydetection_set_sensitivity "$sensitivity" >/dev/null
  "$prefix/bin/vantelo_emulator" vtl_anomalydetection_detect --file "$source/examples/mixed.csv" |
    grep -o '"similarity": [0-9]*' | sed 's/.*: //' >"$work/expected.txt"
)
[ "$(wc -l <"$work/expected.txt")" -gt 0 ] || fail "the emulator rated nothing"

step "CMake project, find_package(vantelo 1.0 CONFIG REQUIRED)"
"$cmake" -S "$source/examples/consumer/cmake" -B "$work/cmake" -G "$generator" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" \
  -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >"$work/cmake.log" || { cat "$work/cmake.log"; fail "configure"; }
"$cmake" --build "$work/cmake" -j2 >>"$work/cmake.log" || { cat "$work/cmake.log"; fail "build"; }
grep -q -- '-ffp-contract=off' "$work/cmake/compile_commands.json" ||
  fail "-ffp-contract=off did not reach the consumer's compile"
same_ratings "$work/cmake/vantelo_consumer" "vantelo::vantelo"
needs_library "$work/cmake/vantelo_consumer" "vantelo::vantelo" no
same_ratings "$work/cmake/vantelo_consumer_shared" "vantelo::vantelo_shared"
needs_library "$work/cmake/vantelo_consumer_shared" "vantelo::vantelo_shared" yes

skipped=""
if command -v make >/dev/null && command -v pkg-config >/dev/null; then
  step "Makefile project, pkg-config"
  export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
  pkg-config --cflags vantelo | grep -q -- '-ffp-contract=off' || fail "pkg-config --cflags"
  [ "$(pkg-config --modversion vantelo)" = 1.0.0 ] || fail "pkg-config --modversion"
  cp -r "$source/examples/consumer/make" "$work/make"
  targets=(consumer)
  [ -n "$flags" ] || targets+=(consumer_static)  # no fully static sanitizer runtime
  make -s -C "$work/make" CC="$cc" CFLAGS="-O2 $flags" LDFLAGS="$flags" "${targets[@]}" ||
    fail "make"
  same_ratings "$work/make/consumer" "pkg-config --libs"
  needs_library "$work/make/consumer" "pkg-config --libs" yes
  if [ -n "$flags" ]; then
    echo "pkg-config --static: left out, the sanitizers have no fully static runtime"
  else
    same_ratings "$work/make/consumer_static" "pkg-config --static --libs"
    needs_library "$work/make/consumer_static" "pkg-config --static --libs" no
  fi
else
  skipped="make or pkg-config is missing: the Makefile project was not built"
fi

step "CMake project, add_subdirectory of the source tree without GoogleTest or Google Benchmark"
"$cmake" -S "$source/examples/consumer/cmake" -B "$work/subdirectory" -G "$generator" \
  -DCMAKE_BUILD_TYPE=Release -DVANTELO_SOURCE_DIR="$source" -DCMAKE_C_COMPILER="$cc" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
  -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON --no-warn-unused-cli >"$work/subdirectory.log" ||
  { cat "$work/subdirectory.log"; fail "configure"; }
"$cmake" --build "$work/subdirectory" -j2 --target vantelo_consumer >>"$work/subdirectory.log" ||
  { cat "$work/subdirectory.log"; fail "build"; }
same_ratings "$work/subdirectory/vantelo_consumer" "add_subdirectory"

if [ -n "$skipped" ]; then
  echo "SKIPPED in part: $skipped"
  exit 77
fi
echo "every consumer rates as the installed emulator does"
