#!/usr/bin/env bash
# Fuzzes every target for a while, beginning with its corpus in fuzz/corpus/. New inputs stay in
# build/fuzz/found/; an input that ends a target is kept as build/fuzz/found/TARGET-crash-...
#
#   scripts/fuzz.sh SECONDS [TARGET...]
source "$(dirname "$0")/common.sh"

seconds=${1:-}
[[ $seconds =~ ^[0-9]+$ ]] || {
    echo "usage: scripts/fuzz.sh SECONDS [TARGET...]" >&2
    exit 2
}
shift
install_deps build lint

note "build (fuzz)"
configure fuzz
build fuzz >/dev/null

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for source in fuzz/targets/*.cpp; do
        name=${source##*/}
        targets+=("${name%.cpp}")
    done
fi

export ASAN_OPTIONS="detect_leaks=0:allocator_may_return_null=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}"

# fuzz TARGET: one target for its time; its output goes to build/fuzz/TARGET.log.
fuzz() {
    local name=$1 found=build/fuzz/found/$1
    mkdir -p "$found"
    "build/fuzz/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 \
        -artifact_prefix="$found-" -print_final_stats=1 "$found" "fuzz/corpus/$name" \
        >"build/fuzz/$name.log" 2>&1
}

note "fuzz (${#targets[@]} targets, $seconds s each, $jobs at a time)"
failed=()
for ((first = 0; first < ${#targets[@]}; first += jobs)); do
    running=("${targets[@]:first:jobs}")
    pids=()
    for name in "${running[@]}"; do
        fuzz "$name" &
        pids+=($!)
    done
    for at in "${!running[@]}"; do
        name=${running[$at]}
        log=build/fuzz/$name.log
        if wait "${pids[$at]}"; then
            printf 'ok  %-20s %s executions\n' "$name" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")"
        else
            failed+=("$name")
            tail -n 40 "$log"
        fi
    done
done
[ ${#failed[@]} -eq 0 ] || fail "findings: ${failed[*]}"
