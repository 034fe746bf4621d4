#!/usr/bin/env bash
# Counts the C++ lines of each folder and prints the share of test code.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

cd "$root"
lines_in() { git ls-files -z -co --exclude-standard -- "$1/*.h" "$1/*.cpp" | xargs -0 -r cat | wc -l; }
all=0
for folder in shared oxtool tests benchmarks examples; do
  count=$(lines_in "$folder")
  printf '%-12s %6d\n' "$folder" "$count"
  all=$((all + count))
done
printf '%-12s %6d\n' all "$all"
[ "$all" -eq 0 ] || printf 'tests are %d %% of all lines\n' $((100 * $(lines_in tests) / all))
