#!/usr/bin/env bash
# Mutation testing: plants the faults listed in scripts/mutants/*.txt into src/,
# one at a time, rebuilds what each touches in build-mutate/ and runs the tests
# that cover its file. A fault the tests notice is "killed", one they miss
# "survived"; a fault whose snippet no longer occurs exactly once in its file is
# "stale" and is not run. Faults marked equivalent run too but are left out of
# the score.
#
#   scripts/mutate.sh                        every list, -j2 builds
#   scripts/mutate.sh scripts/mutants/engine.txt
#   scripts/mutate.sh --match learning.cpp   only faults whose file or snippet holds the text
#   scripts/mutate.sh --check                only checks that every snippet occurs once
#   scripts/mutate.sh --scalar               the faults of scripts/mutants/scalar/, planted
#                                            into the portable scalar forms of the SSE2
#                                            routines, on a build of those forms
#                                            (build-mutate-scalar/, VTL_PORTABLE_SCALAR=ON)
#   options: -j N (build jobs, 2), --timeout S (seconds of tests per fault, 300;
#   each test program also stops after 10 s plus five times its unmutated time)
#
# build-mutate/ is the release configuration without benchmarks, examples,
# Python and install rules, plus traps on out-of-range float-to-integer
# conversions and array indices (undefined behaviour the sanitize build
# reports), so that a fault which only makes such an access reachable is killed
# too. build/ is never touched. The mutated file is restored after each fault,
# also on Ctrl-C; a run that was killed outright is repaired at the next start.
# Do not edit src/ while a run goes on. The report goes to
# build-mutate/mutation-report.txt. Exit status 0 when every fault that is not
# marked equivalent was killed and none is stale.
#
# A list holds lines of these kinds (blank lines and lines starting with # are
# ignored):
#   tests: NAME...          the test programs of tests/ for the faults below; a
#                           name written ctest:NAME is a ctest test instead
#   file: src/PATH          the file of the faults below
#   SNIPPET => REPLACEMENT  one fault: SNIPPET must occur exactly once in the
#                           file; \n stands for a newline, \\ for a backslash;
#                           an empty replacement removes the snippet
#   ... ## equivalent: WHY  appended to a fault that cannot change behaviour
set -uo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
python=/usr/bin/python3
jobs=2
timeout_seconds=300
match=""
check_only=0
scalar=OFF
lists=()
while (($#)); do
  case "$1" in
    -j) jobs=$2; shift 2 ;;
    -j*) jobs=${1#-j}; shift ;;
    --timeout) timeout_seconds=$2; shift 2 ;;
    --match) match=$2; shift 2 ;;
    --check) check_only=1; shift ;;
    --scalar) scalar=ON; shift ;;
    -h|--help) sed -n '2,/^set -uo/p' "$0" | sed '$d; s/^# \{0,1\}//'; exit 0 ;;
    *) lists+=("$1"); shift ;;
  esac
done
if [[ $scalar == ON ]]; then
  build="$root/build-mutate-scalar"
  ((${#lists[@]})) || lists=("$root"/scripts/mutants/scalar/*.txt)
else
  build="$root/build-mutate"
  ((${#lists[@]})) || lists=("$root"/scripts/mutants/*.txt)
fi

# --- planting and restoring ---
mkdir -p "$build"
backup="$build/original-source"
planted="$build/planted-source"
active="$build/planted-path"
child=""

restore() {
  if [[ -f $active ]]; then
    cp "$backup" "$root/$(cat "$active")" && rm -f "$active"
  fi
}

# A run killed outright (kill -9) may have left its fault in place: put the
# original back, unless the file has been edited since; runs of either build
# are repaired.
for left in "$root/build-mutate" "$root/build-mutate-scalar"; do
  [[ -f $left/planted-path ]] || continue
  path=$(cat "$left/planted-path")
  if cmp -s "$left/planted-source" "$root/$path"; then
    echo "restoring $path, left mutated by an interrupted run"
    cp "$left/original-source" "$root/$path" && rm -f "$left/planted-path"
  else
    echo "warning: $path was edited after an interrupted run; not restoring it" >&2
    rm -f "$left/planted-path"
  fi
done

# --- text work in Python: parsing the lists, planting and checking snippets ---
helper() {
  "$python" - "$@" <<'PYTHON'
import re, sys

def unescape(text):
    return re.sub(r'\\(\\|n)', lambda m: '\n' if m.group(1) == 'n' else '\\', text)

def parse(paths, match):
    number = 0
    for path in paths:
        tests, source = '', ''
        for line_number, line in enumerate(open(path, encoding='utf-8'), 1):
            line = line.rstrip('\n')
            if not line.strip() or line.lstrip().startswith('#'):
                continue
            if line.startswith('tests:'):
                tests = line[6:].strip()
                continue
            if line.startswith('file:'):
                source = line[5:].strip()
                continue
            reason = ''
            if ' ## equivalent:' in line:
                line, reason = line.split(' ## equivalent:', 1)
                reason = reason.strip() or 'equivalent'
            parts = re.split(r'\s+=>(?:\s+|$)', line.strip(), maxsplit=1)
            if len(parts) != 2 or not source or not tests:
                sys.exit(f'{path}:{line_number}: not a fault line (or no file:/tests: before it)')
            number += 1
            if match and match not in source and match not in parts[0]:
                continue
            fields = [str(number), f'{path}:{line_number}', source, tests, reason, parts[0], parts[1]]
            print('\x1f'.join(fields))

def plant(source, snippet, replacement, planted):
    text = open(source, encoding='utf-8').read()
    snippet, replacement = unescape(snippet), unescape(replacement)
    if not snippet or text.count(snippet) != 1:
        print(text.count(snippet) if snippet else 0)
        sys.exit(3)
    at = text.index(snippet)
    mutated = text.replace(snippet, replacement, 1)
    open(planted, 'w', encoding='utf-8').write(mutated)  # first, for the repair after a kill
    open(source, 'w', encoding='utf-8').write(mutated)
    print(text.count('\n', 0, at) + 1)

command = sys.argv[1]
if command == 'parse':
    parse(sys.argv[3:], sys.argv[2])
elif command == 'plant':
    plant(*sys.argv[2:6])
elif command == 'count':
    text = open(sys.argv[2], encoding='utf-8').read()
    print(text.count(unescape(sys.argv[3])))
PYTHON
}

records=$(helper parse "$match" "${lists[@]}") || exit 2
if [[ -z $records ]]; then
  echo "no faults selected" >&2
  exit 2
fi

if ((check_only)); then
  stale=0
  while IFS=$'\x1f' read -r number where source tests reason snippet replacement; do
    count=$(helper count "$root/$source" "$snippet" 2>/dev/null || echo "no file")
    if [[ $count != 1 ]]; then
      echo "stale  #$number $where: $source holds the snippet $count times: $snippet"
      stale=$((stale + 1))
    fi
  done <<<"$records"
  echo "$(wc -l <<<"$records") faults, $stale stale"
  exit $((stale > 0))
fi

# The handler may run inside a redirected build or test: it speaks through a
# copy of the script's own standard output.
exec 4>&1
on_signal() {
  [[ -n $child ]] && kill -TERM "$child" 2>/dev/null
  [[ -n $child ]] && wait "$child" 2>/dev/null
  restore
  printf '\ninterrupted; the source is restored\n' >&4
  exit 130
}
trap on_signal INT TERM
trap restore EXIT

# Runs a command in the background under a time limit (timeout gives it its own
# process group and takes the whole group down), so that a signal reaches the
# trap at once.
limited() {
  local seconds=$1
  shift
  timeout -k 10 "$seconds" "$@" &
  child=$!
  wait "$child"
  local status=$?
  child=""
  return $status
}

# --- the build ---
configure() {
  [[ -f $build/build.ninja ]] && return 0
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DVTL_BUILD_BENCH=OFF -DVTL_BUILD_EXAMPLES=OFF -DVTL_BUILD_PYTHON=OFF -DVTL_INSTALL=OFF \
    -DVTL_PORTABLE_SCALAR=$scalar \
    "-DCMAKE_CXX_FLAGS=-fsanitize=float-cast-overflow,bounds -fsanitize-undefined-trap-on-error" \
    >"$build/configure.log" 2>&1
}

build_targets() {  # the test programs of a tests: line, and the emulator
  local targets=(vantelo_emulator) name
  for name in $1; do
    [[ $name == ctest:* ]] || targets+=("$name")
  done
  limited 3600 cmake --build "$build" -j "$jobs" --target "${targets[@]}" >"$build/build.log" 2>&1
}

# Runs the tests of a tests: line until the first failure; sets failed_by to
# what failed. (Not run in a subshell, so that a signal reaches the trap at once.)
# Each program may take five times its time on the unmutated source, plus 10 s.
failed_by=""
declare -A usual_seconds=()
run_tests() {
  local deadline=$((SECONDS + timeout_seconds)) name program status started
  failed_by=""
  for name in $1; do
    local left=$((deadline - SECONDS))
    ((left > 0)) || { failed_by="timeout"; return 1; }
    if [[ -n ${usual_seconds[$name]:-} ]] && ((10 + 5 * usual_seconds[$name] < left)); then
      left=$((10 + 5 * usual_seconds[$name]))
    fi
    started=$SECONDS
    if [[ $name == ctest:* ]]; then
      limited "$left" ctest --test-dir "$build" -R "^${name#ctest:}\$" --output-on-failure \
        >"$build/test.log" 2>&1
    else
      program=$(find "$build/tests" -type f -name "$name" -perm -u+x | head -n 1)
      [[ -n $program ]] || { failed_by="missing test program $name"; return 2; }
      limited "$left" "$program" --gtest_brief=1 --gtest_fail_fast >"$build/test.log" 2>&1
    fi
    status=$?
    [[ -n ${usual_seconds[$name]:-} ]] || usual_seconds[$name]=$((SECONDS - started))
    if ((status != 0)); then
      local failed
      failed=$(grep -m 1 -o '\[  FAILED  \] [A-Za-z0-9_./]*' "$build/test.log" | sed 's/.*\] //')
      ((status == 124 || status == 137)) && failed="timeout"
      ((status >= 128 && status != 137)) && failed="${failed:-signal $((status - 128))}"
      failed_by="$name${failed:+ ($failed)}"
      return 1
    fi
  done
  return 0
}

configure || { echo "configure failed, see $build/configure.log" >&2; exit 2; }
all_tests=$(cut -d $'\x1f' -f 4 <<<"$records" | tr ' ' '\n' | sort -u | tr '\n' ' ')
echo "baseline: building and running $all_tests"
build_targets "$all_tests" || { echo "the unmutated build fails, see $build/build.log" >&2; exit 2; }
if ! run_tests "$all_tests"; then
  echo "the unmutated source fails $failed_by; see $build/test.log" >&2
  exit 2
fi

# --- the faults ---
report="$build/mutation-report.txt"
: >"$report"
total=$(wc -l <<<"$records")
declare -A tally=()
started=$SECONDS
index=0
while IFS=$'\x1f' read -r number where source tests reason snippet replacement <&3; do
  index=$((index + 1))
  mutant_start=$SECONDS
  detail=""
  cp "$root/$source" "$backup"
  echo "$source" >"$active"
  if line=$(helper plant "$root/$source" "$snippet" "$replacement" "$planted"); then
    if ! build_targets "$tests"; then
      result="build-failed"
      cp "$build/build.log" "$build/build-failed-$number.log"
      detail="see build-failed-$number.log"
    elif run_tests "$tests"; then
      result="survived"
    else
      result="killed"
      detail=$failed_by
    fi
    restore
  else
    rm -f "$active"
    result="stale"
    detail="found $line times"
    line="?"
  fi
  [[ -n $reason ]] && result="$result/equivalent"
  tally[$result]=$((${tally[$result]:-0} + 1))
  printf '[%d/%d] %-20s %s:%s  %s => %s  %s(%ds)\n' "$index" "$total" "$result" "$source" "$line" \
    "$snippet" "$replacement" "${detail:+$detail  }" $((SECONDS - mutant_start)) | tee -a "$report"
  [[ -n $reason ]] && echo "        equivalent: $reason" | tee -a "$report"
done 3<<<"$records"

# Put the unmutated objects back, so that build-mutate/ stays a clean build.
build_targets "$all_tests" >/dev/null 2>&1

killed=${tally[killed]:-0}
survived=${tally[survived]:-0}
scored=$((killed + survived))
{
  echo
  echo "faults: $total in $(((SECONDS - started) / 60)) min $(((SECONDS - started) % 60)) s"
  for key in killed survived stale build-failed killed/equivalent survived/equivalent \
             stale/equivalent build-failed/equivalent; do
    [[ -n ${tally[$key]:-} ]] && printf '  %-24s %d\n' "$key" "${tally[$key]}"
  done
  if ((scored > 0)); then
    echo "killed: $killed of $scored faults not marked equivalent" \
         "($(awk "BEGIN { printf \"%.1f\", 100 * $killed / $scored }") %)"
  fi
} | tee -a "$report"
[[ $survived -eq 0 && -z ${tally[stale]:-} && -z ${tally[build-failed]:-} ]]
