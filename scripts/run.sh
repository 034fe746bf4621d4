#!/usr/bin/env bash
# Builds the library and the tool and shows the main job from end to end: a file is packed into a
# folder that stands for the farm's share, and refreshed from there through the path by which a
# Windows machine of the farm knows it.
#   scripts/run.sh [FILE]     FILE: what to pack (the tool itself by default)
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

usage() { printf 'usage: %s [FILE]\n' "$(basename "$0")" >&2; exit 2; }
[ $# -le 1 ] || usage
case ${1:-} in -*) usage ;; esac
if [ $# -eq 1 ]; then
  [ -f "$1" ] || fail "there is no file '$1' to pack"
  [ -r "$1" ] || fail "the file '$1' cannot be read"
  [ -s "$1" ] || fail "the file '$1' is empty, and a buffer file holds at least one byte"
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

say "looking into the file on the share"
"$oxtool" inspect "$share/jobs/job17.oxdb"

cmp "$file" "$share/payload" || fail "the refreshed payload is not what was packed"
[ -z "$(find "$share" -name '*_lock.txt*')" ] || fail "a lock was left on the share"
say "it works: the payload is byte for byte what was packed, and no lock was left"
say "the tool is $oxtool; what it can do: $oxtool --help"
