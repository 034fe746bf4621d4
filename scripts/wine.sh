#!/bin/sh
# Runs a Windows program under Wine without a display. scripts/windows.sh prepares Wine:
#   scripts/wine.sh x86_64|i686 PROGRAM [ARGUMENT]…
cross=$(cd "$(dirname "$0")/.." && pwd -P)/build/cross
arch=$1
shift
libraries=$cross/wine/usr/lib
unset DISPLAY WAYLAND_DISPLAY
export WINEPREFIX="${WINEPREFIX:-$cross/prefix}" WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}"
export WINESERVER="$libraries/wine/wineserver64"
export WINEDLLPATH="$libraries/i386-linux-gnu/wine:$libraries/x86_64-linux-gnu/wine"
# The search path for DLLs contains only Qt's folder, since Wine fails if it finds a zlib1.dll of
# the other word size.
export WINEPATH="${WINEPATH-Z:$cross/qt-$arch/bin}"
case $arch in
  x86_64) export WINELOADER="$libraries/wine/wine64" ;;
  i686) export WINELOADER="$libraries/wine/wine" ;;
  *) echo "wine.sh: unknown target '$arch'; the targets are: x86_64 i686" >&2; exit 2 ;;
esac
exec "$WINELOADER" "$@"
