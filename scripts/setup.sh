#!/usr/bin/env bash
# Installs the missing Debian packages for the build and for the given sets:
#   scripts/setup.sh [build|test|docs|bench|format|fuzz|tidy|qt5|linux32|shares|kernel_shares|windows|abi|package|std_format]…
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

packages_of() {
  case $1 in
    build) echo g++ cmake ninja-build ccache pkg-config qt6-base-dev zlib1g-dev libcli11-dev ;;
    test)
      echo libgtest-dev gzip make python3 util-linux libfuse3-dev fuse3 gdb libfmt-dev
      echo zsh fish mandoc groff-base
      ;;
    docs) echo doxygen doxygen-awesome-css python3 ;;
    bench) echo libbenchmark-dev libdeflate-dev libisal-dev libboost-dev libproc2-dev rsync rclone ;;
    format) echo clang-format ;;
    fuzz) echo clang libclang-rt-dev llvm ;;
    tidy) echo clang-tidy-19 ;;
    qt5) echo qtbase5-dev ;;
    abi) echo abigail-tools ;;
    std_format) echo clang-19 libc++-19-dev ;;
    package) echo dpkg-dev lintian mmdebstrap zip ;;
    linux32) echo g++-multilib googletest qt6-base-dev-tools dpkg-dev ;;
    shares)
      echo moosefs-master moosefs-chunkserver moosefs-client glusterfs-server glusterfs-client
      echo samba smbnetfs sshfs openssh-server iproute2 util-linux python3
      ;;
    kernel_shares) echo user-mode-linux nfs-kernel-server samba kmod iproute2 ;;
    windows)
      echo g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix libz-mingw-w64-dev googletest dpkg-dev
      echo wine64 libc6-i386 lib32gcc-s1 qt6-base-dev-tools
      ;;
    *) fail "unknown set '$1'; the sets are: build test docs bench format fuzz tidy qt5 linux32 shares kernel_shares windows abi package std_format" ;;
  esac
}

wanted=()
# npm is needed once, to download the source of the crash handler into the cache. Any installed
# version of npm is sufficient.
if ! compgen -G "$cache/breakpad-*/deps" >/dev/null && ! command -v npm >/dev/null; then
  wanted+=(nodejs npm)
fi
for set in build "$@"; do
  packages=$(packages_of "$set") || exit 1
  read -rd "" -a names <<<"$packages" || true
  wanted+=("${names[@]}")
done

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null ||
    fail "these packages are missing: ${missing[*]}. Install them as root, or install sudo."
  as_root=(sudo)
fi

apt() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -qq -y -o DPkg::Lock::Timeout=300 "$@" </dev/null
}
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# policy-rc.d prevents that the servers in the package sets "shares" and "kernel_shares" start as
# services of this machine.
policy=/usr/sbin/policy-rc.d
if [[ " $* " = *shares* ]] && [ ! -e "$policy" ]; then
  printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null
  "${as_root[@]}" chmod +x "$policy"
  trap '"${as_root[@]}" rm -f "$policy" "$log"' EXIT
fi
say "installing ${missing[*]} (a few minutes on a fresh machine)"
if ! { apt update && apt install --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  fail "apt could not install the packages"
fi
