# SPDX-License-Identifier: MIT
# Sourced by the scripts beside it: goes to the project's root folder, from whatever folder ($caller) they
# were called.
set -euo pipefail
# It would make "cd" look elsewhere, and print where it went.
unset CDPATH
root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
caller=$PWD
readonly root caller
cd -- "$root"

fail() {
  printf '%s: %s\n' "$(basename -- "$0")" "$*" >&2
  exit 1
}

# The comment at the top of a script is its help text.
show_help() { sed -n '/^# SPDX/d; 2,/^[^#]/ s/^# \{0,1\}//p' "$0"; }

# Configures the preset unless that was done since the presets last changed. A build folder that came
# here with a copy of the checkout belongs to another place and is made anew.
configure() {
  local preset=$1 build=build/$1 log
  if [[ -f $build/CMakeCache.txt ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$build/CMakeCache.txt"; then
    rm -rf -- "$build"
  fi
  [[ $build/build.ninja -nt CMakePresets.json ]] && return
  mkdir -p "$build"
  log=$build/configure.log
  if ! cmake --preset "$preset" >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    fail "configuring $preset failed"
  fi
  touch "$build/build.ninja"
}

# Builds targets of a preset; says nothing unless something goes wrong.
build() {
  local preset=$1 log
  shift
  configure "$preset"
  log=build/$preset/build.log
  if ! cmake --build "build/$preset" --target "$@" >"$log" 2>&1; then
    grep -vE '^\[[0-9]+/[0-9]+\]' "$log" | tail -n 80 >&2
    fail "building $preset failed (whole output: build/$preset/build.log)"
  fi
}
