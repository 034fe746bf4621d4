#!/usr/bin/env bash
# Installs missing packages, builds the library, the tool and the tests, and runs all tests:
#   scripts/test.sh [PRESET] [CTEST-ARGUMENT…]     PRESET: dev (default), asan, tsan, qt5 or static
# With the preset tsan, only tests/races and the tests of the commands that start threads are run.
#   scripts/test.sh shares [--share NAME]… [--check NAME]… [--table]
# Builds the tool and runs tests/shares, which mounts its own network shares. This needs root and
# FUSE.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if [ "${1:-}" = shares ]; then
  shift
  sets=(test shares)
  case " $* " in *\ nfs\ * | *\ cifs\ *) sets+=(kernel_shares) ;; esac
  "$root/scripts/setup.sh" "${sets[@]}"
  build_preset dev oxtool
  say "testing on network shares"
  exec python3 -B "$root/tests/shares/run.py" "$root/build/dev/oxtool/oxtool" "$@"
fi

preset=dev
case ${1:-} in
  dev | asan | tsan | qt5 | static) preset=$1; shift ;;
  '' | -*) ;;
  *) fail "unknown preset '$1'; the presets are: dev asan tsan qt5 static" ;;
esac
sets=(test)
[ "$preset" != qt5 ] || sets+=(qt5)

targets=()
tests=()
if [ "$preset" = tsan ]; then
  # The thread sanitizer cannot start if the kernel randomises more bits of addresses than the
  # sanitizer supports. This also applies when CMake runs a test program to list its tests.
  if [ -z "${OX_FIXED_ADDRESSES:-}" ] && setarch -R true 2>/dev/null; then
    OX_FIXED_ADDRESSES=1 exec setarch -R "$0" tsan "$@"
  fi
  targets=(races_tests oxtool tool_tests)
  tests=(-R '^(races/|tool/(Copying|Crc|Follow|Listing|Syncing|Verify)\.)')
fi

"$root/scripts/setup.sh" "${sets[@]}"
build_preset "$preset" ${targets[@]+"${targets[@]}"}
say "testing (preset $preset)"
cd "$root"
exec ctest --preset "$preset" -j "$(nproc)" ${tests[@]+"${tests[@]}"} "$@"
