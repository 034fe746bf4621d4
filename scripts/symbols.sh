#!/usr/bin/env bash
# Makes the symbols of programs and libraries, and files them where "oxtool crash --symbols FOLDER"
# finds them:
#   oxtool-symbols FOLDER FILE|FOLDER…
# A folder stands for the programs and libraries in it, without those of its subfolders. Their debug
# information is in them, or beside them in FILE.debug.
set -euo pipefail

fail() { printf 'oxtool-symbols: %s\n' "$*" >&2; exit 1; }

[ $# -ge 2 ] || fail "usage: oxtool-symbols FOLDER FILE|FOLDER…"
here=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")" && pwd)
dump_syms=$(command -v "$here/dump_syms" || command -v dump_syms) ||
  dump_syms=$(compgen -G "${XDG_CACHE_HOME:-$HOME/.cache}/oxshared/breakpad-*/bin/linux-x64/dump_syms" | head -n 1) ||
  fail "cannot find dump_syms"

is_elf() { [ -f "$1" ] && [ "$(head -c 4 -- "$1" | od -An -tx1)" = " 7f 45 4c 46" ]; }

# Prints the name of a file in a dump: that of a library is its soname.
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
  # The name is content of the file and becomes a path.
  [[ $name =~ ^[A-Za-z0-9_+~@,=-][A-Za-z0-9._+~@,=-]*$ ]] ||
    { printf 'oxtool-symbols: unusable name %q in %q\n' "$name" "$1" >&2; return; }
  "$dump_syms" -n "$name" "$1" "$(dirname -- "$1")" >"$made" 2>/dev/null ||
    { printf 'oxtool-symbols: no symbols in %q\n' "$1" >&2; return; }
  # "MODULE Linux x86_64 1F0B… oxtool": a dump matches only the symbols with this number.
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
