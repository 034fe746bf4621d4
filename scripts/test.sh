#!/usr/bin/env bash
# Installs missing packages, builds the library, the tool and the tests, and runs all tests:
#   scripts/test.sh [PRESET] [CTEST-ARGUMENT…]     PRESET: dev (the default), asan, qt5 or static
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

preset=dev
case ${1:-} in
  dev | asan | qt5 | static) preset=$1; shift ;;
  '' | -*) ;;
  *) fail "unknown preset '$1'; the presets are: dev asan qt5 static" ;;
esac
sets=(test)
[ "$preset" != qt5 ] || sets+=(qt5)

"$root/scripts/setup.sh" "${sets[@]}"
build_preset "$preset"
say "testing (preset $preset)"
cd "$root"
exec ctest --preset "$preset" -j "$(nproc)" "$@"
