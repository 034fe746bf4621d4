#!/usr/bin/env bash
# Compares the binary interface of the library with tests/package/abi.txt:
#   scripts/abi.sh [--renew]     --renew writes the file instead
# Uses the build of the preset dev on 64-bit Linux with Qt 6. CONTRIBUTING.md lists the changes that
# are allowed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

list=$root/tests/package/abi.txt
case ${1:-} in
  '' | --renew) ;;
  *) fail "unknown argument '$1'; the only argument is --renew" ;;
esac
"$root/scripts/setup.sh" test abi
build_preset dev oxShared

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
abidw --no-corpus-path --no-comp-dir-path --type-id-style hash --exported-interfaces-only \
  --out-file "$made/abi.xml" "$root/build/dev/shared/liboxShared.so"
python3 "$root/tests/package/abi_list.py" "$made/abi.xml" "$root/build/dev/public_headers.txt" >"$made/abi.txt"
if [ "${1:-}" = --renew ]; then
  cp "$made/abi.txt" "$list"
  exit
fi

! diff -U 2 "$list" "$made/abi.txt" >"$made/changes" || exit 0
cat "$made/changes" >&2
renew="renew the list with scripts/abi.sh --renew"
if tail -n +3 "$made/changes" | grep -q '^-'; then
  fail "the binary interface lost or changed the lines with '-': applications must be compiled again." \
    "CONTRIBUTING.md shows which changes a patch version allows. If the change is one of them, $renew"
fi
fail "the binary interface has new lines. If they are public on purpose, $renew"
