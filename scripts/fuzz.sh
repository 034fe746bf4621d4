#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs one target, or all targets, two at the same time:
#   scripts/fuzz.sh [TARGET|all] [SECONDS] [LIBFUZZER-OPTION…]     default: 60 seconds for each target
# A run starts with the corpus in tests/fuzz/corpus and with the inputs that earlier runs have
# stored in the cache folder. New inputs are stored there, too. Each target prints one line at its
# end. For a finding the script prints the log and a command that reproduces the finding.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

store=$cache/fuzz
mapfile -t targets < <(ls "$root/tests/fuzz/corpus")
name=${1:-all}
seconds=${2:-60}
shift $(($# < 2 ? $# : 2))
options=(-timeout=10 -rss_limit_mb=3000 -malloc_limit_mb=1000 -max_len=4096 -print_final_stats=1 "$@")
if [ "$name" != all ]; then
  [ -d "$root/tests/fuzz/corpus/$name" ] || fail "there is no target '$name'; they are: ${targets[*]}"
  targets=("$name")
fi

# Prints the number that follows the last occurrence of a word in a log, or 0.
number_of() { # word, log
  { grep -oE "$1:? +[0-9]+" "$2" || echo 0; } | tail -n 1 | grep -oE '[0-9]+$'
}

report_finding() { # target, file, log
  local kept
  kept=$store/findings/$1-$(sha256sum "$2" | cut -c 1-12)
  mv "$2" "$kept"
  grep -vE '^#[0-9]+|^INFO|DICT' "$3" | head -n 40 || true
  printf '%s: FINDING; reproduce it with\n  %s %s\n' "$1" "$root/build/fuzz/tests/fuzz/fuzz_$1" "$kept"
  return 1
}

# Runs a target for the given time. Must be called in a subshell, since it changes the current
# folder. The target writes its files to a folder in memory.
fuzz() { # target
  local program=$root/build/fuzz/tests/fuzz/fuzz_$1 corpus=("$store/$1" "$root/tests/fuzz/corpus/$1") file
  mkdir -p "$store/$1" "$store/findings"
  scratch=$(mktemp -d /dev/shm/oxshared-fuzz.XXXXXX)
  trap 'rm -rf "$scratch"' EXIT
  # Short stack traces save memory: the sanitizer keeps every distinct stack trace, and the traces
  # of calls through libraries without frame pointers differ each time.
  export TMPDIR=$scratch ASAN_OPTIONS=malloc_context_size=2:quarantine_size_mb=64
  cd "$scratch"
  local quiet=()
  [ "$1" != command_line ] || quiet=(-close_fd_mask=3) # discards the tool's error messages
  if ! "$program" -max_total_time="$seconds" "${options[@]}" "${quiet[@]}" -artifact_prefix="$scratch/found-" \
    "${corpus[@]}" >/dev/null 2>log; then
    for file in found-*; do
      [ -f "$file" ] || { tail -n 40 log; fail "$1 failed without storing an input that reproduces the failure"; }
      report_finding "$1" "$file" log
    done
  fi
  if ! "$program" --long-inputs $((seconds / 10 + 1)) "${corpus[@]}" >/dev/null 2>long; then
    [ -f slow-input ] || { tail -n 40 long; fail "$1 failed at a long input without storing it"; }
    report_finding "$1" slow-input long
  fi
  printf '%-14s %9d runs in %4d s, %6d edges, %5d inputs; %s\n' "$1" \
    "$(number_of stat::number_of_executed_units log)" "$(grep -oE 'in [0-9]+ second' log | grep -oE '[0-9]+')" \
    "$(number_of cov log)" "$(number_of corp log)" "$(tail -n 1 long)"
}

"$root/scripts/setup.sh" fuzz
build_preset fuzz
jobs=()
for target in "${targets[@]}"; do
  while [ "$(jobs -pr | wc -l)" -ge 2 ]; do sleep 0.5; done
  (fuzz "$target") &
  jobs+=($!)
done
failed=0
for job in "${jobs[@]}"; do
  wait "$job" || failed=1
done
exit $failed
