#!/usr/bin/env bash
# Extracts the symbols of programs and libraries with dump_syms. Stores them below FOLDER, where
# "oxtool crash --symbols FOLDER" finds them:
#   oxtool-symbols FOLDER FILE|FOLDER…
# If the second argument is a folder, the script reads all programs and libraries in it, but not
# those in subfolders. The debug information is in the program or library itself, or beside it in
# FILE.debug.
set -euo pipefail

fail() { printf 'oxtool-symbols: %s\n' "$*" >&2; exit 1; }

[ $# -ge 2 ] || fail "usage: oxtool-symbols FOLDER FILE|FOLDER…"
here=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")" && pwd)
dump_syms=$(command -v "$here/dump_syms" || command -v dump_syms) ||
  dump_syms=$(compgen -G "${XDG_CACHE_HOME:-$HOME/.cache}/oxshared/breakpad-*/bin/linux-x64/dump_syms" | head -n 1) ||
  fail "cannot find dump_syms"

is_elf() { [ -f "$1" ] && [ "$(head -c 4 -- "$1" | od -An -tx1)" = " 7f 45 4c 46" ]; }

# Prints the name under which a dump lists a file: the soname of a library, otherwise the file name.
name_in_dump() {
  local name
  name=$(readelf -d -- "$1" 2>/dev/null | sed -n 's/.*(SONAME).*\[\(.*\)\]$/\1/p') || true
  printf '%s\n' "${name:-$(basename -- "$1")}"
}

folder=$1
shift
made=$(mktemp)
trap 'rm -f "$made"' EXIT
count=0

store() { # file
  local name id
  name=$(name_in_dump "$1")
  # The soname is read from the file and becomes part of a path, so special characters are refused.
  [[ $name =~ ^[A-Za-z0-9_+~@,=-][A-Za-z0-9._+~@,=-]*$ ]] ||
    { printf 'oxtool-symbols: unusable name %q in %q\n' "$name" "$1" >&2; return; }
  "$dump_syms" -n "$name" "$1" "$(dirname -- "$1")" >"$made" 2>/dev/null ||
    { printf 'oxtool-symbols: no symbols in %q\n' "$1" >&2; return; }
  # The first line has the form "MODULE Linux x86_64 1F0B… oxtool". The fourth field is the id of
  # the build; a dump matches only symbols with the same id.
  id=$(head -n 1 "$made" | cut -d ' ' -f 4)
  [[ $id =~ ^[0-9A-F]+$ ]] || fail "dump_syms wrote no module line for $1"
  install -D -m 0644 -- "$made" "$folder/$name/$id/$name.sym"
  printf '%s\n' "$folder/$name/$id/$name.sym"
  count=$((count + 1))
}

for path in "$@"; do
  if [ -d "$path" ]; then
    while IFS= read -r -d '' file; do
      if is_elf "$file"; then store "$file"; fi
    done < <(find "$path" -maxdepth 1 -type f ! -name '*.debug' -print0)
  else
    is_elf "$path" || fail "not a program or library: $path"
    store "$(readlink -f -- "$path")"
  fi
done
[ "$count" -gt 0 ] || fail "no program or library found"
