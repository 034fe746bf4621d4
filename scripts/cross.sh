# Common definitions of the scripts that build for another system. Dependencies that take long to
# build are built once and kept in the cache, in the folder $store, which the calling script sets.
# Each dependency is built in a temporary folder, which is then renamed, so an interrupted run
# leaves no partial result. build/cross in the checkout contains links to the dependencies of this
# checkout. The presets use these links.
unfinished=$store/unfinished
cross=$root/build/cross

# Runs a command and prints its output only if it fails.
quietly() { # command…
  local log=$unfinished/log
  "$@" >"$log" 2>&1 || { tail -n 40 "$log" >&2; fail "command failed: $*"; }
}

# Runs apt-get with the machine's package sources but with separate package lists, so that the
# machine's lists stay unchanged. Ignores package sources that fail: if they were needed, a missing
# package causes an error later.
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

# Downloads 32-bit packages and unpacks them. The packages are not installed, since some machines do
# not allow the installation of 32-bit packages.
unpack_i386() { # folder, package…
  local apt=$unfinished/apt-i386 into=$1 package
  shift
  private_apt "$apt" i386 deb update >/dev/null 2>&1 || true
  (cd "$apt" && quietly private_apt "$apt" i386 deb download "$@")
  for package in "$apt"/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar -x -C "$into" --keep-directory-symlink
  done
}

# Locks the store for this run and removes the temporary folder of an interrupted run.
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
  # Copies CLI11, a header-only library, to a folder without the machine's other headers.
  mkdir -p "$cross/headers"/{include,share/cmake}
  cp -R /usr/include/CLI "$cross/headers/include/"
  cp -R /usr/share/cmake/CLI11 "$cross/headers/share/cmake/"
}

# If a folder of the store does not exist, creates it. Then creates a link to the folder in build/cross.
provide() { # name in build/cross, folder in the store, what it is and how long it takes, command
  local made=$store/$2
  if [ ! -d "$made" ]; then
    say "building $3"
    mkdir -p "$unfinished"
    "$4" "$unfinished/$2"
    mv "$unfinished/$2" "$made"
  fi
  ln -sfn "$made" "$cross/$1"
}
