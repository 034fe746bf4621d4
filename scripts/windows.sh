#!/usr/bin/env bash
# Cross-builds the library, the tool and the tests for Windows and runs the tests under Wine:
#   scripts/windows.sh [x86_64|i686|all] [CTEST-ARGUMENT…]     default: all
# Qt Core for each target and Wine are built once and kept in the cache folder.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

case ${1:-all} in
  all) targets=(x86_64 i686) ;;
  x86_64 | i686) targets=("$1") ;;
  -*) targets=(x86_64 i686); set -- all "$@" ;;
  *) fail "unknown target '$1'; the targets are: x86_64 i686 all" ;;
esac
shift $(($# > 0))

store=$cache/windows
. "$root/scripts/cross.sh"
# The folder with the CMake packages of Qt's tools, such as moc. The presets contain this path, too.
host_packages=/usr/lib/x86_64-linux-gnu/cmake

# Options for building Qt: only Core and its tools, with the third-party libraries that come with
# Qt.
qt_options=(-DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON -DBUILD_WITH_PCH=ON
  -DQT_BUILD_EXAMPLES=OFF -DQT_BUILD_TESTS=OFF)
for feature in gui widgets network sql dbus xml testlib concurrent printsupport opengl icu glib zstd \
  system_zlib system_pcre2 system_doubleconversion system_libb2 pkg_config itemmodel animation \
  easingcurve mimetype gestures jalalicalendar islamiccalendar hijricalendar etw cpp_winrt shortcut; do
  qt_options+=("-DFEATURE_$feature=OFF")
done

# Combines the machine's 64-bit Wine with a 32-bit part, so that Wine runs programs of both word
# sizes.
make_wine() { # folder
  local version
  version=$(dpkg-query -W -f '${Version}' libwine:amd64)
  mkdir -p "$1/usr/lib/wine"
  unpack_i386 "$1" "libwine=$version" "wine32=$version"
  cp -a /usr/lib/wine/{wine64,wineserver64} "$1/usr/lib/wine/"
  ln -sfn /usr/lib/x86_64-linux-gnu "$1/usr/lib/x86_64-linux-gnu"
  rm -rf "$1/usr/share"
  ln -s /usr/share "$1/usr/share"
}

# Creates the Wine prefix, the folder with drive C: and the registry.
make_prefix() { # folder
  WINEPREFIX=$1 quietly "$root/scripts/wine.sh" x86_64 wineboot -i
  WINEPREFIX=$1 "$cross/wine/usr/lib/wine/wineserver64" -w
}

make_qt() { # folder
  local source=("$unfinished"/qt6-base-*/) triple=$target-w64-mingw32 build=$unfinished/build-$target
  if [ ! -d "${source[0]}" ]; then
    private_apt "$unfinished/apt-source" amd64 deb-src update >/dev/null 2>&1 || true
    (cd "$unfinished" &&
      quietly private_apt "$unfinished/apt-source" amd64 deb-src source --only-source "qt6-base=$qt_version")
    source=("$unfinished"/qt6-base-*/)
  fi
  quietly cmake -G Ninja -S "${source[0]}" -B "$build" -DCMAKE_INSTALL_PREFIX="$1" -DQT_HOST_PATH=/usr -DQT_HOST_PATH_CMAKE_DIR="$host_packages" \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-$target.cmake" "${qt_options[@]}"
  quietly cmake --build "$build" --target install
  rm -rf "$build"
  # The programs also need the DLLs of the compiler. Copies these DLLs to Qt's folder, which is in
  # the search path.
  cp "$(dirname "$("$triple-g++-posix" -print-file-name=libstdc++-6.dll)")"/{libstdc++-6,libgcc_s_*}.dll \
    "/usr/$triple/lib/libwinpthread-1.dll" "$1/bin/"
  "$triple-strip" --strip-unneeded "$1"/bin/Qt6Core.dll
}

"$root/scripts/setup.sh" test windows
begin_store
wine_version=$(dpkg-query -W -f '${Version}' libwine:amd64)
qt_version=$(dpkg-query -W -f '${source:Version}' qt6-base-dev)
provide wine "wine-$wine_version" "Wine $wine_version for both word sizes (a minute or two)" make_wine
for target in "${targets[@]}"; do
  # When the key changes, the script builds Qt again, which takes minutes. So the key ignores comments.
  key=$({ echo "${qt_options[@]}"; grep -hv '^ *#' "$root"/cmake/mingw.cmake "$root/cmake/mingw-$target.cmake"
    "$target-w64-mingw32-g++-posix" -dumpfullversion; } | sha256sum | cut -c 1-12)
  provide "qt-$target" "qt-$qt_version-$target-$key" \
    "Qt Core $qt_version for $target (once; 3 to 5 minutes on two free cores, 15 on busy ones)" make_qt
done
provide prefix "prefix-$wine_version" "Wine's folders (some seconds)" make_prefix
end_store

for target in "${targets[@]}"; do
  build_preset "windows-$target"
  # All test programs share one Wine server, which ends 20 seconds after the last program. The first
  # program that uses the server starts helper processes, which inherit its output and keep it open.
  # So the first program is a command whose output is discarded.
  WINEPREFIX=$cross/prefix "$cross/wine/usr/lib/wine/wineserver64" -p20 >/dev/null 2>&1 || true
  "$root/scripts/wine.sh" "$target" cmd /c rem >/dev/null 2>&1
  say "testing for Windows $target under Wine (up to ten minutes)"
  (cd "$root" && ctest --preset "windows-$target" -j 2 "$@")
done
