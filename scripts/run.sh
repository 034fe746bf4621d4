#!/usr/bin/env bash
# Builds the library and the tool and demonstrates the main task: packs a file into a folder that
# represents the farm's share, and loads it again by the path that a Windows machine of the farm
# uses.
#   scripts/run.sh [FILE]     FILE: the file to pack, by default the tool itself
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

usage() { printf 'usage: %s [FILE]\n' "$(basename "$0")" >&2; exit 2; }
[ $# -le 1 ] || usage
case ${1:-} in -*) usage ;; esac
if [ $# -eq 1 ]; then
  [ -f "$1" ] || fail "file not found: '$1'"
  [ -r "$1" ] || fail "file is not readable: '$1'"
  [ -s "$1" ] || fail "file is empty, and a buffer file needs at least one byte: '$1'"
fi

"$root/scripts/setup.sh" test # the preset configures the tests, too
build_preset dev oxtool
oxtool=$root/build/dev/oxtool/oxtool
file=${1:-$oxtool}

share=$(mktemp -d)
trap 'rm -rf "$share"' EXIT
stored='\\farm\share\jobs\job17.oxdb'
mkdir "$share/jobs"

say "packing $file into the share"
"$oxtool" pack "$file" "$share/jobs/job17.oxdb"

say "refreshing $stored"
"$oxtool" refresh "$stored" --map '\\farm\share='"$share" --out "$share/payload"

say "inspecting the file on the share"
"$oxtool" inspect "$share/jobs/job17.oxdb"

cmp "$file" "$share/payload" || fail "the refreshed payload differs from the packed file"
[ -z "$(find "$share" -name '*_lock.txt*')" ] || fail "a lock file is left on the share"
say "success: the payload equals the packed file, and no lock file is left"
say "the tool is $oxtool; its help: $oxtool --help"
