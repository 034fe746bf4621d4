#!/usr/bin/env bash
# Generates the reference, build/reference/html, from the public headers and the pages in docs/.
# Fails if Doxygen prints a warning (such as an undocumented function), or if a link is broken.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$root"

scripts/setup.sh docs
# The public headers are those that the build installs.
headers=$(for list in shared/CMakeLists.txt shared/*/CMakeLists.txt; do
  awk -v folder="${list%/*}" '
    /PUBLIC_HEADERS/ { inside = 1; sub(/.*PUBLIC_HEADERS/, "") }
    /SOURCES/ { inside = 0 }
    inside { for (i = 1; i <= NF; i++) if ($i ~ /[.]h[)]?$/) { sub(/[)]/, "", $i); print folder "/" $i } }
    /[)]/ { inside = 0 }' "$list"
done)
export OX_OUTPUT=build/reference OX_THEME=/usr/share/doxygen-awesome-css
OX_VERSION=$(grep -m1 -oE '[0-9]+[.][0-9]+[.][0-9]+' CHANGELOG.md)
export OX_VERSION

rm -rf "$OX_OUTPUT"
mkdir -p "$OX_OUTPUT"
# shellcheck disable=SC2086
python3 docs/reference/prepare.py "$OX_OUTPUT/input" $headers docs/*.md examples/reference/*.cpp
if ! doxygen docs/reference/Doxyfile >"$OX_OUTPUT/doxygen.log" 2>&1; then
  cat "$OX_OUTPUT/doxygen.log" >&2
  fail "Doxygen reported the warnings above"
fi
python3 docs/reference/check_links.py "$OX_OUTPUT/html" || fail "the targets of the links above do not exist"
say "the reference is in $OX_OUTPUT/html/index.html"
