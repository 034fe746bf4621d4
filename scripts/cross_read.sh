#!/usr/bin/env bash
# Every build writes the files of all formats, and every build reads what each of them wrote; the crash
# dumps of all are read by Breakpad's reader. The builds must be there: scripts/test.sh, scripts/linux32.sh
# and scripts/windows.sh make them.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

builds=(dev linux-i686 windows-x86_64 windows-i686)
# What goes to standard error is shown only when the tool fails: Wine talks there, too.
oxtool() { # build, argument…
  local build=$root/build/$1 run
  case $1 in
    windows-*) run=("$root/scripts/wine.sh" "${1##*-}" "$build/bin/oxtool.exe") ;;
    *) run=("$build/oxtool/oxtool") ;;
  esac
  shift
  "${run[@]}" "$@" 2>errors || { cat errors >&2; fail "this failed: $build oxtool $*"; }
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" # relative names mean the same to all of them
cp "$root"/tests/data/golden/{small,text,binary}.raw .
read_back=0
for writer in "${builds[@]}"; do
  for format in db zp ns gz; do
    for raw in *.raw; do
      oxtool "$writer" pack --format "$format" "$raw" "$writer-$raw-$format" >/dev/null
      for reader in "${builds[@]}"; do
        oxtool "$reader" unpack "$writer-$raw-$format" --out payload
        cmp "$raw" payload || fail "$reader reads $format of $raw by $writer wrongly"
        rm payload
        read_back=$((read_back + 1))
      done
    done
  done
done
for build in "${builds[@]}"; do oxtool "$build" layout | grep -vE '^(_OX_DataBuffer|_oxStringList) ' >"layout-$build"; done
for build in "${builds[@]}"; do
  cmp layout-dev "layout-$build" || fail "the records of $build are laid out differently"
done
say "${#builds[@]} builds read $read_back files of each other, and their records are laid out alike"

reader=$(compgen -G "$cache/breakpad-*/bin/linux-x64/minidump_stackwalk" | head -n 1)
for build in "${builds[@]}"; do
  mkdir "crash-$build"
  oxtool "$build" crash-test thread --dir "crash-$build" >/dev/null
  case $build in windows-*) reason='EXCEPTION_ACCESS_VIOLATION' ;; *) reason='SIGSEGV' ;; esac
  # "Crash|SIGSEGV /SEGV_MAPERR|0x0|1": not the first thread, which only waits.
  report=$("$reader" -m "crash-$build"/*.oxdmp 2>/dev/null)
  grep -qE "^Crash\|$reason.*\|0x0\|[1-9]" <<<"$report" ||
    fail "the dump of $build does not tell the crash of a second thread"
done
say "the dumps of all builds tell what crashed"
