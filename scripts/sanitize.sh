#!/usr/bin/env bash
# Builds with sanitizers and runs every test program whole, its tests in random order in one process
# (the seed is printed).
#
#   scripts/sanitize.sh asan|tsan [PROGRAM...]      asan: address and undefined behaviour; tsan: threads
source "$(dirname "$0")/common.sh"

preset=${1:-}
case $preset in
asan | tsan) shift ;;
*)
    echo "usage: scripts/sanitize.sh asan|tsan [PROGRAM...]" >&2
    exit 2
    ;;
esac
install_deps build test plot

note "build ($preset)"
configure "$preset"
build "$preset"

# Not strict_init_order: it takes a program that uses the finished globals of a shared library before main()
# for one that uses unfinished ones.
export ASAN_OPTIONS="detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1:check_initialization_order=1:allocator_may_return_null=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}"
# Qt's own event dispatcher instead of GLib's, into which the thread sanitizer cannot see either.
export QT_NO_GLIB=1
export TSAN_OPTIONS="suppressions=$root/tests/support/tsan.supp:second_deadlock_stack=1:history_size=4:allocator_may_return_null=1${TSAN_OPTIONS:+:$TSAN_OPTIONS}"

list=build/$preset/test-programs.txt
[ -s "$list" ] || fail "$list names no test program"
if [ $# -gt 0 ]; then
    programs=()
    for name in "$@"; do
        mapfile -t -O ${#programs[@]} programs < <(grep "/$name\$" "$list" || true)
    done
else
    mapfile -t programs <"$list"
fi
[ ${#programs[@]} -gt 0 ] || fail "no such test program"

# run_one PROGRAM: one line when it passes, everything it printed when it does not.
run_one() {
    local log=$1.$preset.log status=0 seed=$((RANDOM % 99999 + 1))
    timeout 900 "$1" --gtest_shuffle --gtest_random_seed=$seed --gtest_brief=1 </dev/null >"$log" 2>&1 || status=$?
    # A finding in a process that a test started (the program, say) shows in its output alone.
    if [ $status -eq 0 ] && grep -qE 'ERROR: (Address|Leak)Sanitizer|WARNING: ThreadSanitizer|runtime error:' "$log"; then
        status=99
    fi
    if [ $status -ne 0 ]; then
        printf 'FAILED (%d) %s --gtest_shuffle --gtest_random_seed=%d\n' "$status" "$1" $seed
        head -c 60000 "$log"
        return 1
    fi
    printf 'ok  %-30s seed %-6s %s\n' "${1##*/}" $seed "$(sed -n 's/^\[==========\] \(.*\)$/\1/p' "$log" | tail -1)"
}
export -f run_one
export preset

note "test ($preset)"
# shellcheck disable=SC2016 # expanded by the shell that xargs starts
printf '%s\0' "${programs[@]}" | xargs -0 -n 1 -P "$jobs" bash -c 'run_one "$1" || exit 1' run_one
echo "$preset: ${#programs[@]} test programs"
