#!/usr/bin/env bash
# Builds packages into build/packages and tests each package on its target system:
#   scripts/package.sh [deb|source|zip|zip-x86_64|zip-i686]…     default: deb
#   deb     Debian packages: installed into a minimal root, used by an application, and removed
#   source  the source archive: unpacked and built in another folder. Fails unless the Debian packages
#           from the archive are byte for byte equal to those from the checkout.
#   zip     a ZIP for each word size of Windows, tested under Wine; scripts/windows.sh builds Qt Core first
# The minimal root is a folder with a small Debian system. It is created once, as the user root, and
# kept in the cache folder. The variable OX_PACKAGE_CONTACT sets the maintainer of the Debian packages,
# as NAME <ADDRESS>.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

kinds=("$@")
[ $# -gt 0 ] || kinds=(deb)
for kind in "${kinds[@]}"; do
  [[ $kind =~ ^(deb|source|zip(-x86_64|-i686)?)$ ]] || fail "unknown package '$kind'; the packages are: deb source zip zip-x86_64 zip-i686"
done

packages=$root/build/packages
mkdir -p "$packages"
made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
# All files in the packages get the time of the commit. A source archive has no repository, but git
# archive gives all files in it the time of the commit. So the script takes the time of shared/version.h.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -C "$root" log -1 --format=%ct 2>/dev/null ||
  stat -c %Y "$root/shared/version.h")}
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C.UTF-8

quietly() { # command…
  "$@" >"$made/log" 2>&1 || { tail -n 40 "$made/log" >&2; fail "command failed: $*"; }
}

package_version() { sed -n 's/^#define OX_VERSION_[A-Z]* \([0-9]*\)$/\1/p' "$root/shared/version.h" | paste -sd .; }

# Builds the Debian packages of a source folder.
build_deb() { # source folder, folder for the packages
  local build=$1/build/package package
  (cd "$1" && quietly cmake --preset package ${OX_PACKAGE_CONTACT:+"-DOX_PACKAGE_CONTACT=$OX_PACKAGE_CONTACT"} &&
    quietly cmake --build --preset package)
  rm -rf "$build/_CPack_Packages" "$build"/*.*deb
  (cd "$build" && quietly cpack -G DEB)
  rm -f "$2"/*.deb
  for package in "$build"/*.*deb; do
    finish_deb "$package" "$2/$(basename "${package%.*deb}").deb"
  done
}

# Repacks a package from cpack in the form that Debian's own tools create: an ldconfig trigger
# instead of scripts that call ldconfig, compressed manual pages, and, in a package of debug
# symbols, a link to the documentation of the package with the code. Computes the list of checksums
# again, since cpack's list for a package of debug symbols contains paths of the build folder.
finish_deb() { # package of cpack, finished package
  local files=$made/files name
  rm -rf "$files"
  dpkg-deb -R "$1" "$files"
  rm -f "$files"/DEBIAN/post{inst,rm}
  [ ! -d "$files/usr/share/man" ] || find "$files/usr/share/man" -type f -exec gzip -9n {} +
  name=$(dpkg-deb -f "$1" Package)
  if [[ $name == *-dbgsym ]]; then
    mkdir -p "$files/usr/share/doc"
    ln -s "${name%-dbgsym}" "$files/usr/share/doc/$name"
    sed -i '/^Package-Type:/d' "$files/DEBIAN/control"
    find "$files/usr" -type f -exec chmod 644 {} +
  fi
  (cd "$files" && find usr -type f -print0 | sort -z | xargs -0 md5sum >DEBIAN/md5sums)
  quietly dpkg-deb --root-owner-group --threads-max=1 -z2 -b "$files" "$2"
}

# Creates the minimal root: the smallest system with apt, and the tools that build an application.
# Qt and zlib, on which our packages depend, remain in apt's cache but are not installed, so that
# the test installs them as dependencies. Their own dependencies stay installed, which saves time.
make_root() { # folder
  local codename sources=() file
  codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.{list,sources}; do
    [ ! -s "$file" ] || sources+=("$file")
  done
  quietly mmdebstrap --mode=root --format=directory --variant=apt --skip=cleanup/apt \
    --include=g++,cmake,make,pkg-config --dpkgopt=force-unsafe-io \
    --customize-hook='chroot "$1" apt-get -qq -y --no-install-recommends install qt6-base-dev zlib1g-dev' \
    --customize-hook='chroot "$1" apt-get -qq -y purge libqt6core6 zlib1g-dev' \
    "$codename" "$1" "${sources[@]}"
}

# Tests the Debian packages. Runs after chroot into a copy of the minimal root. In this copy, the folder
# /test contains the packages and the examples.
test_in_root() {
  set -euo pipefail
  export DEBIAN_FRONTEND=noninteractive PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root
  quietly() { "$@" >/tmp/log 2>&1 || { tail -n 40 /tmp/log >&2; echo "command failed: $*" >&2; exit 1; }; }
  install_packages() {
    quietly apt-get -y --no-install-recommends -o Dpkg::Options::=--force-unsafe-io install "$@"
  }
  list_files() { find / -xdev \( -path /test -o -path /tmp -o -path /var/cache -o -path /var/log \
    -o -path /proc -o -path '/var/lib/dpkg/*-old' \) -prune -o -print | sort; }
  cd /test

  echo "== the tool alone"
  install_packages /test/oxtool_*.deb
  oxtool --version
  quietly oxtool pack /etc/os-release /tmp/job.oxdb
  quietly oxtool inspect /tmp/job.oxdb
  quietly apt-get -y purge oxtool

  echo "== an application"
  install_packages /test/liboxshared-dev_*.deb /test/liboxshared7_*.deb
  quietly cmake -S examples -B /tmp/examples -DCMAKE_BUILD_TYPE=Release
  quietly cmake --build /tmp/examples
  quietly make -C /tmp -f /test/examples/Makefile job_refresher
  /tmp/examples/consumer/consumer
  /tmp/job_refresher /tmp/job.oxdb 1
  quietly apt-get -y purge liboxshared-dev liboxshared7

  echo "== removal"
  list_files >/tmp/before
  install_packages /test/*.deb
  ! list_files | diff -q /tmp/before - >/dev/null || { echo "no file is installed" >&2; exit 1; }
  quietly apt-get -y purge oxtool liboxshared-dev liboxshared7 oxtool-dbgsym liboxshared7-dbgsym
  list_files | diff /tmp/before - || { echo "the packages leave the files above" >&2; exit 1; }
}

# Tests the Debian packages in an overlay of the minimal root, in separate namespaces. The mounts end
# with the last process in these namespaces. No network is available, so apt installs every
# dependency from its cache in the root.
test_deb() {
  local store=$cache/debian-root key
  key=$({ declare -f make_root; cat /etc/debian_version; } | sha256sum | cut -c 1-12)
  mkdir -p "$store"
  exec {lock}>"$store/lock"
  flock "$lock"
  if [ ! -d "$store/$key" ]; then
    say "creating the minimal root (once, some minutes)"
    rm -rf "$store"/*.unfinished
    make_root "$store/$key.unfinished"
    mv "$store/$key.unfinished" "$store/$key"
  fi
  exec {lock}>&-

  lintian --fail-on error --tag-display-limit 0 "$packages"/*.deb
  mkdir "$made"/{layer,root}
  { declare -f test_in_root; echo test_in_root; } >"$made/test.sh"
  OX_LOWER=$store/$key OX_MADE=$made OX_ROOT=$root unshare --mount --net --pid --fork --kill-child bash -euc '
    mount -t tmpfs tmpfs "$OX_MADE/layer"
    mkdir "$OX_MADE"/layer/{upper,work}
    mount -t overlay overlay -o "lowerdir=$OX_LOWER,upperdir=$OX_MADE/layer/upper,workdir=$OX_MADE/layer/work" "$OX_MADE/root"
    mount -t proc proc "$OX_MADE/root/proc"
    mkdir "$OX_MADE/root/test"
    cp -R "$OX_ROOT"/build/packages/*.deb "$OX_ROOT/examples" "$OX_MADE/test.sh" "$OX_MADE/root/test/"
    chroot "$OX_MADE/root" bash /test/test.sh'
}

package_deb() {
  "$root/scripts/setup.sh" package
  say "building the Debian packages"
  build_deb "$root" "$packages"
  deb_is_built=1
  say "testing the Debian packages"
  test_deb
}

# Builds the source archive, builds the Debian packages from it, and compares them with the packages
# of the checkout. A separate namespace of the compiler cache ensures that the second build compiles
# every source itself.
package_source() {
  "$root/scripts/setup.sh" package
  local name second=$root/build/package-source
  name=oxshared-$(package_version)
  say "building the source archive"
  git -C "$root" archive --prefix="$name/" HEAD | gzip -9n >"$packages/$name.tar.gz"
  rm -rf "$second"
  mkdir -p "$second/packages"
  tar -xf "$packages/$name.tar.gz" -C "$second"
  say "building the Debian packages of the source archive"
  CCACHE_NAMESPACE=package-source CCACHE_BASEDIR=$second/$name build_deb "$second/$name" "$second/packages"
  [ -n "${deb_is_built:-}" ] || build_deb "$root" "$packages"
  [ -z "$(git -C "$root" status --porcelain)" ] || say "the checkout has changes that are not in the archive"
  local package
  for package in "$packages"/*.deb; do
    cmp "$package" "$second/packages/$(basename "$package")" || fail "two builds differ: $(basename "$package")"
  done
  rm -rf "$second"
}

# Creates the ZIP for one word size from the build of scripts/windows.sh.
build_zip() { # x86_64 or i686, name of the ZIP's folder
  local stage=$made/$2 qt=$root/build/cross/qt-$1 package
  build_preset "windows-$1" oxShared oxtool
  quietly cmake --install "$root/build/windows-$1" --prefix "$stage" --strip
  cp "$qt"/bin/{Qt6Core,libstdc++-6,libgcc_s_*,libwinpthread-1}.dll "$stage/bin/"
  "$1-w64-mingw32-strip" --strip-unneeded "$stage"/bin/lib{stdc++,gcc,winpthread}*.dll
  for package in libqt6core6 libz-mingw-w64-dev gcc-mingw-w64-base mingw-w64-common; do
    cp "/usr/share/doc/$package/copyright" "$stage/share/doc/oxShared/notices/$package.txt"
  done
  find "$stage" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
  rm -f "$packages/$2.zip"
  (cd "$made" && find "$2" -type f | sort | zip -q -X -9 "$packages/$2.zip" -@)
}

# Tests a ZIP under Wine. The tool and the example applications find no DLLs but those in the ZIP. The
# build of the applications also uses Qt's headers, which are not in the ZIP.
test_zip() { # x86_64 or i686, name of the ZIP's folder
  local unpacked=$made/unpacked/$2 qt=$root/build/cross/qt-$1 wine=("$root/scripts/wine.sh" "$1")
  mkdir "$made/unpacked"
  (cd "$made/unpacked" && cmake -E tar x "$packages/$2.zip")
  export WINEPATH=
  "${wine[@]}" "$unpacked/bin/oxtool.exe" --version
  quietly "${wine[@]}" "$unpacked/bin/oxtool.exe" pack "$root/README.md" "$made/job.oxdb"
  mkdir "$made/crash"
  quietly "${wine[@]}" "$unpacked/bin/oxtool.exe" crash-test null --dir "$made/crash"
  quietly "${wine[@]}" "$unpacked/bin/oxtool.exe" crash "$made"/crash/*.oxdmp
  quietly cmake -G Ninja -S "$root/examples" -B "$made/examples" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$qt/lib/cmake/Qt6/qt.toolchain.cmake" \
    -DQT_CHAINLOAD_TOOLCHAIN_FILE="$root/cmake/mingw-$1.cmake" -DQT_HOST_PATH=/usr \
    -DQT_HOST_PATH_CMAKE_DIR=/usr/lib/x86_64-linux-gnu/cmake -DZLIB_USE_STATIC_LIBS=ON \
    -DoxShared_DIR="$unpacked/lib/cmake/oxShared" -DCMAKE_RUNTIME_OUTPUT_DIRECTORY="$unpacked/bin"
  quietly cmake --build "$made/examples" --target consumer job_refresher
  "${wine[@]}" "$unpacked/bin/consumer.exe"
  "${wine[@]}" "$unpacked/bin/job_refresher.exe" "$made/job.oxdb" 1
  unset WINEPATH
  rm -rf "$made"/{unpacked,examples,crash}
}

package_zip() { # x86_64 or i686
  local name
  "$root/scripts/setup.sh" package windows
  [ -d "$root/build/cross/qt-$1/bin" ] || fail "run scripts/windows.sh $1 first: it builds Qt Core"
  name=oxshared-$(package_version)-windows-$1
  say "building $name.zip"
  build_zip "$1" "$name"
  say "testing $name.zip under Wine"
  test_zip "$1" "$name"
}

for kind in "${kinds[@]}"; do
  case $kind in
    zip) package_zip x86_64; package_zip i686 ;;
    zip-*) package_zip "${kind#zip-}" ;;
    *) "package_$kind" ;;
  esac
done
(cd "$packages" && sha256sum -- *)
