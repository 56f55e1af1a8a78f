#!/usr/bin/env bash
# Fails when a C or C++ file under src/, tests/, bench/, fuzz/ or examples/ is
# not formatted as .clang-format says; lists each offending place.
#   scripts/check_format.sh            check every file
#   scripts/check_format.sh FILE...    check these files only
set -euo pipefail
cd "$(dirname "$0")/.."
command -v clang-format >/dev/null || { echo "clang-format is not installed (apt-get install clang-format)"; exit 2; }
if [ $# -gt 0 ]; then
  files=("$@")
else
  mapfile -t files < <(git ls-files -- 'src/*' 'tests/*' 'bench/*' 'fuzz/*' 'examples/*' |
    grep -E '\.(c|cc|cpp|h|hpp)$')
fi
if clang-format --style=file --dry-run -Werror "${files[@]}"; then
  echo "${#files[@]} files formatted as .clang-format says"
else
  echo "some files are not formatted: clang-format -i FILE fixes one"
  exit 1
fi
