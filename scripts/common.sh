# Sourced by the other scripts: strict mode, the project root as working directory, and helpers.
# shellcheck shell=bash
set -euo pipefail
export LC_ALL=C.UTF-8

# Where relative paths in the caller's arguments count from.
# shellcheck disable=SC2034
started_in=$PWD
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# Two compilers at a time, unless told otherwise: more would not fit small machines.
jobs=${VXDATASTORAGE_JOBS:-2}

note() { printf '\n== %s\n' "$*"; }
fail() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}
have() { command -v "$1" >/dev/null 2>&1; }

# The one version number, from project(VERSION).
project_version() { sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' "$root/CMakeLists.txt" | head -1; }

# install_deps PROFILE...: see scripts/install-deps.sh
install_deps() { "$root/scripts/install-deps.sh" "$@"; }

# configure PRESET [ARGUMENT...]: configures build/PRESET. Fails when an option was given that the
# CMake files do not know: a misspelt one would otherwise turn a check off without a word.
configure() {
    local preset=$1 log
    shift
    log=$(mktemp)
    local launcher=()
    if have ccache; then
        export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root} CCACHE_NOHASHDIR=1
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    if ! cmake --preset "$preset" "${launcher[@]}" "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        fail "cmake could not configure the preset $preset"
    fi
    if grep -A5 'variables were not used' "$log" >&2; then
        rm -f "$log"
        fail "the preset $preset sets a variable that the CMake files do not read"
    fi
    rm -f "$log"
}

# build PRESET [TARGET...]: builds build/PRESET.
build() {
    local preset=$1
    shift
    local targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    cmake --build "build/$preset" --parallel "$jobs" "${targets[@]}"
}
