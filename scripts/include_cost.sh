#!/usr/bin/env bash
# Measures how long it takes to compile a public header by itself:
#   scripts/include_cost.sh [-r RUNS] [HEADER…]     default: the umbrella header and all headers in it
# Each run compiles <QString> and then the header. Prints two medians: the user time in seconds, and
# the header's time divided by the time of <QString>. The quotient depends less on the machine's
# load.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$root"

runs=5
if [ "${1:-}" = -r ]; then
  runs=$2
  shift 2
fi
headers=("$@")
if [ $# -eq 0 ]; then
  mapfile -t headers < <(echo shared/oxshared.h && sed -n 's/^#include "\(.*\)"$/\1/p' shared/oxshared.h)
fi
read -ra qt < <(pkg-config --cflags Qt6Core)

# Prints the user seconds of compiling a file with only this include.
seconds_of() {
  local TIMEFORMAT=%U
  { time echo "#include $1" | "${CXX:-c++}" -std=c++20 -O2 -fPIC -I. "${qt[@]}" -x c++ - -c -o /dev/null; } 2>&1
}
median() { sort -g | awk '{ value[NR] = $1 } END { printf "%.2f", (value[int((NR + 1) / 2)] + value[int(NR / 2) + 1]) / 2 }'; }

echo "| header | user seconds | ratio to \`<QString>\` |"
echo "|---|---:|---:|"
for header in "${headers[@]}"; do
  times=() ratios=()
  for ((run = 0; run < runs; run++)); do
    base=$(seconds_of '<QString>')
    times+=("$(seconds_of "\"$header\"")")
    ratios+=("$(awk "BEGIN { print ${times[-1]} / $base }")")
  done
  echo "| \`$header\` | $(printf '%s\n' "${times[@]}" | median) | $(printf '%s\n' "${ratios[@]}" | median) |"
done
