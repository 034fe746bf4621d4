# Sourced by the scripts that build for another system: what such a build needs and takes long is made
# once and kept in the folder `store` of the cache, which the script names before. It is made in a
# folder aside and renamed when complete, so an interrupted run leaves nothing half made. build/cross
# in the checkout points to what this checkout uses; the presets find it there.
unfinished=$store/unfinished
cross=$root/build/cross

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

# Downloads packages of the 32-bit architecture and unpacks them. They are not installed, since that
# architecture is not everywhere installable.
unpack_i386() { # folder, package…
  local apt=$unfinished/apt-i386 into=$1 package
  shift
  private_apt "$apt" i386 deb update >/dev/null 2>&1 || true
  (cd "$apt" && quietly private_apt "$apt" i386 deb download "$@")
  for package in "$apt"/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar -x -C "$into" --keep-directory-symlink
  done
}

# One run at a time fills the store, and begins with what an interrupted one has left.
begin_store() {
  mkdir -p "$store" "$cross"
  exec {lock}>"$store/lock"
  flock -n "$lock" || { say "waiting for another run that fills the cache"; flock "$lock"; }
  rm -rf "$unfinished"
  trap 'rm -rf "$unfinished"' EXIT
}
end_store() {
  rm -rf "$unfinished"
  exec {lock}>&-
  # The host's header-only packages, away from the host's own headers.
  mkdir -p "$cross/headers"/{include,share/cmake}
  cp -R /usr/include/CLI "$cross/headers/include/"
  cp -R /usr/share/cmake/CLI11 "$cross/headers/share/cmake/"
}

# Makes a folder of the store unless it is there, and lets a name in build/cross point to it.
provide() { # name in build/cross, folder in the store, what it is and how long it takes, command
  local made=$store/$2
  if [ ! -d "$made" ]; then
    say "making $3"
    mkdir -p "$unfinished"
    "$4" "$unfinished/$2"
    mv "$unfinished/$2" "$made"
  fi
  ln -sfn "$made" "$cross/$1"
}
