#!/usr/bin/env bash
# Checks that every build of the tool can read the files that every other build writes, in all
# formats, and that all builds print the same text about the crash dumps of all builds. First run
# scripts/test.sh, scripts/linux32.sh and scripts/windows.sh, which build the tool.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

builds=(dev linux-i686 windows-x86_64 windows-i686)
# Prints standard error only if the tool fails, since Wine writes messages to standard error, too.
oxtool() { # build, argument…
  local build=$root/build/$1 run
  case $1 in
    windows-*) run=("$root/scripts/wine.sh" "${1##*-}" "$build/bin/oxtool.exe") ;;
    *) run=("$build/oxtool/oxtool") ;;
  esac
  shift
  "${run[@]}" "$@" 2>errors || { cat errors >&2; fail "command failed: $build oxtool $*"; }
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" # every build accepts relative names
cp "$root"/tests/data/golden/{small,text,binary}.raw .
read_back=0
for writer in "${builds[@]}"; do
  for format in db zp ns gz; do
    for raw in *.raw; do
      oxtool "$writer" pack --format "$format" "$raw" "$writer-$raw-$format" >/dev/null
      for reader in "${builds[@]}"; do
        oxtool "$reader" unpack "$writer-$raw-$format" --out payload
        cmp "$raw" payload || fail "$reader reads a payload that differs from $raw in the $format file of $writer"
        rm payload
        read_back=$((read_back + 1))
      done
    done
  done
done
for build in "${builds[@]}"; do oxtool "$build" layout | grep -vE '^(_OX_DataBuffer|_oxStringList) ' >"layout-$build"; done
for build in "${builds[@]}"; do
  cmp layout-dev "layout-$build" || fail "the layout of the records of $build differs from that of dev"
done
say "${#builds[@]} builds can read $read_back files of each other, and their records have the same layout"

reader=$(compgen -G "$cache/breakpad-*/bin/linux-x64/minidump_stackwalk" | head -n 1)
for build in "${builds[@]}"; do
  mkdir "crash-$build"
  oxtool "$build" crash-test thread --dir "crash-$build" >/dev/null
  case $build in windows-*) reason='EXCEPTION_ACCESS_VIOLATION' ;; *) reason='SIGSEGV' ;; esac
  # The report contains a line such as "Crash|SIGSEGV /SEGV_MAPERR|0x0|1", whose last field is the
  # number of the crashed thread. Thread 0 only waits.
  report=$("$reader" -m "crash-$build"/*.oxdmp 2>/dev/null)
  grep -qE "^Crash\|$reason.*\|0x0\|[1-9]" <<<"$report" ||
    fail "the dump of $build does not contain the crash of a second thread"
  # In a 64-bit program the address of an illegal instruction has more than 32 bits.
  oxtool "$build" crash-test illegal --dir "crash-$build" >/dev/null
  for dump in "crash-$build"/*.oxdmp; do
    oxtool dev crash "$dump" --readers "$(dirname "$reader")" >text
    for other in linux-i686 windows-x86_64 windows-i686; do
      oxtool "$other" crash "$dump" | cmp - text || fail "dev and $other print different texts about $dump"
    done
  done
done
say "the dumps of all builds contain the crash, and all builds print the same text about them"
