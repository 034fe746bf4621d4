#!/usr/bin/env bash
# Installs missing packages, builds in release mode, runs the benchmarks and prints their tables:
#   scripts/bench.sh share [--quick] [ARGUMENT…]   measures the tool on a slow share; benchmarks/share.py
#                                                  explains it. A full run takes about an hour.
#   scripts/bench.sh [NAME…] [--benchmark_…]     NAME: checksum, …; default: all benchmarks
# Flags of the benchmark library, such as --benchmark_filter=crc32, are passed to every program.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if [ "${1:-}" = share ]; then
  shift
  "$root/scripts/setup.sh" test bench
  build_preset dev oxtool fault_fs
  exec python3 "$root/benchmarks/share.py" "$@" "$root/build/dev/oxtool/oxtool" \
    "$root/build/dev/tests/support/fault_fs"
fi

names=() flags=()
for argument in "$@"; do
  case $argument in
    --*) flags+=("$argument") ;;
    *)
      [ -f "$root/benchmarks/${argument}_bench.cpp" ] || fail "unknown benchmark '$argument'"
      names+=("$argument")
      ;;
  esac
done
if [ ${#names[@]} -eq 0 ]; then
  for source in "$root"/benchmarks/*_bench.cpp; do
    names+=("$(basename "$source" _bench.cpp)")
  done
fi

"$root/scripts/setup.sh" bench
build_preset bench
for name in "${names[@]}"; do
  say "benchmark $name"
  "$root/build/bench/benchmarks/bench_$name" ${flags[@]+"${flags[@]}"}
done
