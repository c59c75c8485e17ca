#!/usr/bin/env bash
# Builds the benchmarks in release, runs them with repetitions in random order and writes
# docs/benchmarks.md: for every job its ratio to the limit of the machine.
#
#   scripts/benchmark.sh [--quick] [--repetitions N] [--filter REGEX] [--peers]
#
# --quick leaves out the cases with 10^8 samples and repeats less; --filter runs the jobs whose names
# match, and does not touch the page; --peers measures other stores as well.
source "$(dirname "$0")/common.sh"
install_deps build bench

repetitions=15
big=(--big)
filter=.
peers=OFF
while [ $# -gt 0 ]; do
    case $1 in
    --quick)
        repetitions=5
        big=()
        ;;
    --repetitions)
        repetitions=${2:?--repetitions needs a number}
        shift
        ;;
    --filter)
        filter=${2:?--filter needs a regular expression}
        shift
        ;;
    --peers)
        peers=ON
        install_deps peers
        ;;
    *) fail "unknown option $1; see the head of this script" ;;
    esac
    shift
done

configure bench -DVXDATASTORAGE_BENCH_PEERS=$peers
build bench
out=build/bench/results
mkdir -p "$out"

note "benchmarks, $repetitions repetitions"
build/bench/benchmarks/vxdatastorage_benchmarks "${big[@]}" \
    --benchmark_filter="$filter" \
    --benchmark_repetitions=$repetitions \
    --benchmark_enable_random_interleaving=true \
    --benchmark_min_time=0.1 \
    --benchmark_out_format=json --benchmark_out="$out/benchmarks.json" >"$out/benchmarks.log"

results=("$out/benchmarks.json")
if [[ ReportTable =~ $filter ]] && [ -x build/bench/cli/vxdata ]; then
    note "vxdata report of a million rows"
    python3 scripts/benchmark_report_table.py build/bench/cli/vxdata build/bench/benchmarks/parse_table \
        --repetitions $repetitions --out "$out/report-table.json"
    results+=("$out/report-table.json")
fi

page=docs/benchmarks.md
[ "$filter" = . ] || page="$out/benchmarks.md"
python3 scripts/benchmark_page.py "${results[@]}" >"$page.new"
mv "$page.new" "$page"
note "$page"
sed -n '/^|/p' "$page"
