# Common definitions of the scripts: the project folder, the caches, messages and builds.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache=${XDG_CACHE_HOME:-$HOME/.cache}/oxshared
export CCACHE_DIR=${CCACHE_DIR:-$cache/ccache}
# With these settings, all checkouts on this machine share the cached objects.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1

say() { printf '== %s\n' "$*"; }
fail() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

# Configures a preset and builds the given targets, or all targets. If a step fails, prints the end
# of its output.
build_preset() { # preset [target…]
  say "building (preset $1)"
  local log=$root/build/$1.log preset=$1
  shift
  mkdir -p "$root/build"
  if ! (cd "$root" && cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"}) \
    >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    fail "the build of preset $preset failed; the whole log is in $log"
  fi
}
