#!/usr/bin/env bash
# Runs the stress program, which uses arrays and cache from all sides at once and checks every sample.
#
#   scripts/stress.sh [PRESET [SECONDS [SEED [READERS]]]]
#       PRESET: dev (default), release, tsan, asan; 60 seconds; 8 threads that read
source "$(dirname "$0")/common.sh"

preset=${1:-dev}
seconds=${2:-60}
install_deps build test

note "build ($preset)"
configure "$preset" -DVXDATASTORAGE_BUILD_TESTS=ON
build "$preset" stress >/dev/null

export ASAN_OPTIONS="detect_leaks=1:detect_stack_use_after_return=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}"
export TSAN_OPTIONS="suppressions=$root/tests/support/tsan.supp:second_deadlock_stack=1:history_size=4${TSAN_OPTIONS:+:$TSAN_OPTIONS}"

note "stress ($preset, $seconds s)"
# The program ends itself when it hangs; this is for one that cannot.
timeout $((seconds * 2 + 300)) "build/$preset/tests/stress/stress" "$seconds" ${3:+"$3"} ${4:+"$4"}
