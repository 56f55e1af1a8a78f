#!/usr/bin/env bash
# Installs, with apt-get, the packages the build needs, and only those missing.
# Sourced by demo.sh and test.sh.
vtl_required_packages=(
  gcc g++ make pkgconf cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev
  clang libclang-rt-14-dev  # the second compiler of the warnings gate and the build matrix; libFuzzer
  clang-format        # the format check of the sources
  libmpfr-dev libgmp-dev  # MPFR: the exhaustive check of the correctly rounded maths (a test tool only)
  libfast-float-dev   # fast_float: correctly rounded decimal-to-float conversion of signal files
  python3-dev         # /usr/bin/python3 and its headers, which the vantelo extension builds against
  pybind11-dev        # binds the engine library to Python (headers and its CMake package)
  python3-numpy       # signal arrays in and similarity arrays out of the Python module
  python3-matplotlib  # the pictures of vantelo plot and vantelo sweep (Agg, no display)
  python3-pytest      # runs tests/python, the checks of the module and the command
)

vtl_install_missing() {
  local missing=()
  local pkg
  for pkg in "${vtl_required_packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
      missing+=("$pkg")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing missing packages: ${missing[*]}"
  if [ "$(id -u)" -ne 0 ]; then
    echo "Not running as root: install them with 'sudo apt-get install ${missing[*]}' and run again." >&2
    return 1
  fi
  DEBIAN_FRONTEND=noninteractive apt-get update -qq
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}"
}
