#!/usr/bin/env bash
# Builds the library, the tool and the tests for 32-bit Linux and runs the tests:
#   scripts/linux32.sh [CTEST-ARGUMENT…]
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
store=$cache/linux-i686
. "$root/scripts/cross.sh"

# Qt Core and its dependencies. The C and C++ libraries come with the compiler.
packages=(qt6-base-dev libqt6core6 zlib1g zlib1g-dev libicu72 libdouble-conversion3 libb2-1 libgomp1
  libpcre2-16-0 libpcre2-8-0 libglib2.0-0 libzstd1)

make_libraries() { # folder
  mkdir -p "$1/usr/lib"
  ln -s usr/lib "$1/lib"
  unpack_i386 "$1" "${packages[@]}"
  local libraries=$1/usr/lib/i386-linux-gnu
  ln -sfn "$(basename "$(readlink "$libraries/libz.so")")" "$libraries/libz.so"
  # Qt's CMake package requires this folder to exist, but the folder is part of another Debian
  # package.
  mkdir -p "$libraries/qt6/mkspecs/linux-g++"
}

"$root/scripts/setup.sh" test linux32
begin_store
version=$(dpkg-query -W -f '${Version}' qt6-base-dev)
provide linux-i686 "libraries-$version" "the 32-bit libraries (half a minute)" make_libraries
end_store

build_preset linux-i686
say "testing for 32-bit Linux"
cd "$root"
exec ctest --preset linux-i686 -j "$(nproc)" "$@"
