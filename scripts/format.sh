#!/usr/bin/env bash
# Formats all C++ sources:
#   scripts/format.sh [--check]     --check only reports the files that are not formatted
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

case ${1:-} in
  '') mode=(-i) ;;
  --check) mode=(--dry-run --Werror) ;;
  *) fail "unknown argument '$1'; the only argument is --check" ;;
esac
"$root/scripts/setup.sh" format
cd "$root"
git ls-files -z -co --exclude-standard -- '*.h' '*.cpp' | xargs -0 -r clang-format "${mode[@]}"
