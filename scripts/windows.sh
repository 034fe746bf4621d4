#!/usr/bin/env bash
# Cross-builds the library, the tool and the tests for Windows and runs the tests under Wine:
#   scripts/windows.sh [x86_64|i686|all] [CTEST-ARGUMENT…]     all is the default
# What takes long (Qt Core for each target, Wine) is made once and kept in the cache folder; it is
# made in a folder aside and renamed when complete, so an interrupted run leaves nothing half made.
# build/cross in the checkout points to what this checkout uses; the presets windows-x86_64 and
# windows-i686 find it there.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

case ${1:-all} in
  all) targets=(x86_64 i686) ;;
  x86_64 | i686) targets=("$1") ;;
  -*) targets=(x86_64 i686); set -- all "$@" ;;
  *) fail "there is no target '$1'; it is x86_64, i686 or all" ;;
esac
shift $(($# > 0))

store=$cache/windows
# Where the CMake packages of the host tools (moc and the like) stand; the presets name it as well.
host_packages=/usr/lib/x86_64-linux-gnu/cmake
unfinished=$store/unfinished
cross=$root/build/cross

# Qt's options: Core and its tools alone, with its own copies of the libraries it needs.
qt_options=(-DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON -DBUILD_WITH_PCH=ON
  -DQT_BUILD_EXAMPLES=OFF -DQT_BUILD_TESTS=OFF)
for feature in gui widgets network sql dbus xml testlib concurrent printsupport opengl icu glib zstd \
  system_zlib system_pcre2 system_doubleconversion system_libb2 pkg_config itemmodel animation \
  easingcurve mimetype gestures jalalicalendar islamiccalendar hijricalendar etw cpp_winrt shortcut; do
  qt_options+=("-DFEATURE_$feature=OFF")
done

# Runs a command whose output is of interest only when it fails.
quietly() { # command…
  local log=$unfinished/log
  "$@" >"$log" 2>&1 || { tail -n 40 "$log" >&2; fail "this failed: $*"; }
}

# apt-get with package lists of our own, so that the machine's stay as they are. The sources are the
# machine's; some may lack what is asked for, which shows when a package is not found.
private_apt() { # folder, architecture, source type, apt-get argument…
  local folder=$1 architecture=$2 type=$3 list
  shift 3
  if [ ! -d "$folder" ]; then
    mkdir -p "$folder"/{lists/partial,archives/partial,sources}
    : >"$folder/status"
    for list in /etc/apt/sources.list /etc/apt/sources.list.d/*; do
      [ ! -f "$list" ] || sed -E "s/^Types:.*/Types: $type/; /^Architectures:/d; s/^deb /$type /" \
        "$list" >"$folder/sources/$(basename "$list")"
    done
  fi
  apt-get -qq -o APT::Architecture="$architecture" -o APT::Architectures="$architecture" \
    -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$folder/sources" \
    -o Dir::State::lists="$folder/lists" -o Dir::State::status="$folder/status" \
    -o Dir::Cache="$folder" -o APT::Sandbox::User=root "$@"
}

# Wine for programs of both word sizes: the machine's 64-bit half, and beside it the 32-bit half,
# unpacked and not installed, since the i386 architecture is not everywhere installable.
make_wine() { # folder
  local version apt=$unfinished/apt-i386
  version=$(dpkg-query -W -f '${Version}' libwine:amd64)
  mkdir -p "$1/usr/lib/wine"
  private_apt "$apt" i386 deb update >/dev/null 2>&1 || true
  (cd "$apt" && quietly private_apt "$apt" i386 deb download "libwine=$version" "wine32=$version")
  for package in "$apt"/*.deb; do dpkg-deb -x "$package" "$1"; done
  cp -a /usr/lib/wine/{wine64,wineserver64} "$1/usr/lib/wine/"
  ln -sfn /usr/lib/x86_64-linux-gnu "$1/usr/lib/x86_64-linux-gnu"
  rm -rf "$1/usr/share"
  ln -s /usr/share "$1/usr/share"
}

# The folder that stands for C: and the registry.
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
  # A program finds all that it needs at run time beside Qt.
  cp "$(dirname "$("$triple-g++-posix" -print-file-name=libstdc++-6.dll)")"/{libstdc++-6,libgcc_s_*}.dll \
    "/usr/$triple/lib/libwinpthread-1.dll" "$1/bin/"
  "$triple-strip" --strip-unneeded "$1"/bin/Qt6Core.dll
}

# Makes a folder of the cache unless it is there, and lets a name in build/cross point to it.
provide() { # name in build/cross, folder in the cache, what it is and how long it takes, command
  local made=$store/$2
  if [ ! -d "$made" ]; then
    say "making $3"
    mkdir -p "$unfinished"
    "$4" "$unfinished/$2"
    mv "$unfinished/$2" "$made"
  fi
  ln -sfn "$made" "$cross/$1"
}

"$root/scripts/setup.sh" test windows
mkdir -p "$store" "$cross"

exec {lock}>"$store/lock"
flock -n "$lock" || { say "waiting for another run that fills the cache"; flock "$lock"; }
rm -rf "$unfinished"
trap 'rm -rf "$unfinished"' EXIT
wine_version=$(dpkg-query -W -f '${Version}' libwine:amd64)
qt_version=$(dpkg-query -W -f '${source:Version}' qt6-base-dev)
provide wine "wine-$wine_version" "Wine $wine_version for both word sizes (a minute or two)" make_wine
for target in "${targets[@]}"; do
  key=$({ echo "${qt_options[@]}"; cat "$root"/cmake/mingw.cmake "$root/cmake/mingw-$target.cmake"
    "$target-w64-mingw32-g++-posix" -dumpfullversion; } | sha256sum | cut -c 1-12)
  provide "qt-$target" "qt-$qt_version-$target-$key" \
    "Qt Core $qt_version for $target (once; 3 to 5 minutes on two free cores, 15 on busy ones)" make_qt
done
provide prefix "prefix-$wine_version" "Wine's folders (some seconds)" make_prefix
# The host's header-only packages, away from the host's own headers.
mkdir -p "$cross/headers"/{include,share/cmake}
cp -R /usr/include/CLI "$cross/headers/include/"
cp -R /usr/share/cmake/CLI11 "$cross/headers/share/cmake/"
rm -rf "$unfinished"
exec {lock}>&-

# One server for all test programs; it ends by itself a while after the last of them.
WINEPREFIX=$cross/prefix "$cross/wine/usr/lib/wine/wineserver64" -p20 >/dev/null 2>&1 || true
for target in "${targets[@]}"; do
  build_preset "windows-$target"
  say "testing for Windows $target under Wine (a minute or two)"
  (cd "$root" && ctest --preset "windows-$target" "$@")
done
