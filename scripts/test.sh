#!/usr/bin/env bash
# Installs what is missing, builds the library with its tests and runs all of them.
#
#   scripts/test.sh [PRESET [CTEST ARGUMENT...]]      PRESET: dev (default), release, clang
#
# The runner's output also goes to build/PRESET/ctest.log.
source "$(dirname "$0")/common.sh"

preset=${1:-dev}
[ $# -eq 0 ] || shift
profiles=(build test plot)
[ "$preset" != clang ] || profiles+=(lint)
install_deps "${profiles[@]}"

note "build ($preset)"
configure "$preset" -DVXDATASTORAGE_BUILD_TESTS=ON
build "$preset"

note "test ($preset)"
[ -d ../shared/data ] || echo "note: no ../shared/data here; the tests on real measurements are skipped"
progress=()
[ ! -t 1 ] || progress=(--progress)
ctest --test-dir "build/$preset" --parallel "$jobs" --output-on-failure --no-tests=error "${progress[@]}" \
    --output-log "$root/build/$preset/ctest.log" "$@" </dev/null
